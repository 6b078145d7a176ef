#include "ui/chooser.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "ui/markup.h"
#include "ui/page.h"
#include "ui/table.h"
#include "util/escape.h"

#include <algorithm>

namespace zandorin::ui {

Chosen::Chosen(Engine &engine, const settings::Chooser &chooser) : chooser_(chooser) {
    if (chooser.options == nullptr)
        return;
    options_ = chooser.options(engine.config(), "");
    if (const Cgi *cgi = engine.cgi())
        name_ = cgi->getVarString(chooser.variable).raw;
    if (name_.empty())
        name_ = engine.formArgs();
    if (name_.empty() && !options_.empty())
        name_ = options_.front().value;
    isKnown_ = std::any_of(options_.begin(), options_.end(),
                           [&](const settings::Option &option) { return option.value == name_; });
}

settings::Place Chosen::place() const {
    const std::string key = chooser_.prefix + name_;
    return {.names = key, .keys = key};
}

void Chosen::row(Engine &engine, Table &table) const {
    if (chooser_.options == nullptr)
        return;
    std::string html;
    for (const settings::Option &option : options_)
        html +=
            (html.empty() ? "" : ", ") +
            (option.value == name_
                 ? "<b>" + encodeSafe(option.label) + "</b>"
                 : link("?form=" + engine.formId() + "&" + chooser_.variable + "=" + option.value,
                        option.label));
    table.inputRow(chooser_.label,
                   html + "<input type=\"hidden\"" + attribute("name", chooser_.variable) +
                       attribute("value", name_) + ">",
                   chooser_.help);
}

} // namespace zandorin::ui
