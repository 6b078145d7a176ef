#include "ui/chooser.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "settings/several.h"
#include "ui/form.h"
#include "ui/markup.h"
#include "ui/page.h"
#include "ui/table.h"
#include "util/escape.h"

#include <algorithm>

namespace zandorin::ui {

namespace {} // namespace

Chosen::Chosen(Engine &engine, const settings::Chooser &chooser) : chooser_(chooser) {
    if (chooser.options == nullptr)
        return;
    options_ = chooser.options(engine.config(), "");
    name_ = namedBy(engine);
    if (name_.empty() && chooser.columns.empty() && !options_.empty())
        name_ = options_.front().value;
    if (isNone())
        return;
    if (const auto named = settings::optionsNamed(options_, name_))
        places_ = *named;
    isKnown_ = places_.size() == 1 || (isSeveral() && !chooser.columns.empty());
    if (places_.size() == 1)
        name_ = places_.front();
}

std::string Chosen::namedBy(Engine &engine) const {
    const Cgi *cgi = engine.cgi();
    if (cgi == nullptr)
        return engine.formArgs();
    std::string named = cgi->getVarString(chooser_.variable).raw;
    if (!chooser_.columns.empty())
        for (const settings::Option &option : options_)
            if (cgi->varStringExists("select." + option.value))
                named += (named.empty() ? "" : ", ") + option.value;
    return named.empty() ? engine.formArgs() : named;
}

settings::Place Chosen::place() const {
    const std::string key = chooser_.prefix + name_;
    return {.names = key, .keys = key};
}

std::vector<std::string> Chosen::keys() const {
    std::vector<std::string> keys;
    for (const std::string &place : places_)
        keys.push_back(chooser_.prefix + place);
    return keys;
}

std::string Chosen::linkTo(const Engine &engine, const settings::Option &option) const {
    return link("?form=" + engine.formId() + "&" + chooser_.variable + "=" + option.value,
                option.label);
}

void Chosen::row(Engine &engine, Table &table) const {
    if (chooser_.options == nullptr)
        return;
    std::string html;
    for (const settings::Option &option : options_) {
        const bool isIt = std::find(places_.begin(), places_.end(), option.value) != places_.end();
        if (isIt || chooser_.columns.empty())
            html += (html.empty() ? "" : ", ") +
                    (isIt ? "<b>" + encodeSafe(option.label) + "</b>" : linkTo(engine, option));
    }
    if (!chooser_.columns.empty())
        html += " " + link("?form=" + engine.formId(), "All");
    table.inputRow(chooser_.label,
                   html + "<input type=\"hidden\"" + attribute("name", chooser_.variable) +
                       attribute("value", name_) + ">",
                   isSeveral() ? "An input that is left alone keeps what each of them has."
                               : chooser_.help);
}

void Chosen::showTable(Engine &engine, std::span<const settings::Section> sections,
                       const Cell &cell) const {
    Cgi *cgi = engine.cgi();
    Form form(*cgi, engine.formId());
    form.openForm("post", "places", "?form=" + engine.formId());
    Table table(*cgi);
    table.open();
    table.titleRow(chooser_.title);
    table.openRow();
    table.cell("field-label", chooser_.label);
    for (const settings::Column &column : chooser_.columns)
        table.cell("field-label", column.title);
    table.closeRow();
    for (const settings::Option &option : options_) {
        const std::string key = chooser_.prefix + option.value;
        table.openRow();
        table.unsafeCell("field-input", checkInput("select." + option.value, false) + " " +
                                            linkTo(engine, option));
        for (const settings::Column &column : chooser_.columns)
            table.cell(
                "field-input",
                column.status != nullptr ? column.status(engine.config(), key)
                : *column.key != '\0'
                    ? settings::columnWords(engine.config(), sections, key, column.key).value_or("")
                : cell ? cell(option, column)
                       : "");
        table.closeRow();
    }
    table.close();
    table.open();
    table.titleRow("Change Several");
    table.inputRow(chooser_.label, textInput({.name = chooser_.variable}),
                   "Such as \"3, 5-9\", besides those that are ticked above.");
    std::vector<settings::Option> sources = {{"", "- Select -"}};
    sources.insert(sources.end(), options_.begin(), options_.end());
    table.inputRow("Edit", getApplyButton("edit", "Edit Together"));
    table.inputRow("Copy From",
                   menuInput("copy", sources, "") + " " + getApplyButton("apply", "Copy Settings"),
                   "Gives them all settings of this one that are not its own, such as its label.");
    table.close();
    form.closeForm();
}

} // namespace zandorin::ui
