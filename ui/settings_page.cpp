#include "ui/settings_page.h"

#include "cgi/cgi.h"
#include "engine/cgi_submission.h"
#include "engine/engine.h"
#include "settings/form_check.h"
#include "settings/records.h"
#include "settings/registry.h"
#include "settings/rules.h"
#include "ui/chooser.h"
#include "ui/form.h"
#include "ui/form_values.h"
#include "ui/setting_input.h"
#include "ui/table.h"
#include "util/escape.h"

#include <algorithm>

namespace zandorin::ui {

namespace {

using settings::Field;
using settings::Input;
using settings::Place;
using settings::Value;
using settings::Values;

/// A single value as the form's element.
FormElem elementOf(const Value &value, const char *label, bool save) {
    const Field &field = *value.field;
    FormElem element(label, field.type.name(), save, save && !isUnsafe(field),
                     field.maxlength < 1 ? 0 : field.maxlength + 1);
    if (value.key != value.name)
        element.key = value.key;
    const auto isNone = [](const settings::Option &option) { return option.value.empty(); };
    if (!value.options.empty() && field.input == Input::menu &&
        std::none_of(value.options.begin(), value.options.end(), isNone))
        element.standard = value.options.front().value;
    return element;
}

/// Calls `use(name, element)` for each element that stands for the value.
template <typename Use> void forElements(const Value &value, const Use &use) {
    const Field &field = *value.field;
    switch (field.input) {
    case Input::note:
    case Input::confirmation:
    case Input::set:
        return;
    case Input::flags:
        for (const settings::Option &option : value.options) {
            FormElem element(escapeXmlText(option.label), field.type.name(), true, true);
            if (value.key != value.name)
                element.key = value.key + option.value;
            use(boxName(value, option), element);
        }
        return;
    case Input::texts:
        for (std::size_t number = 1; number <= value.storedList.size(); ++number)
            use(textName(value, number), elementOf(value, field.label, false));
        use(value.posted, elementOf(value, field.label, false));
        return;
    default:
        if (*field.file == '\0')
            use(value.name, elementOf(value, field.label, true));
    }
}

bool isList(const Value &value) {
    return value.field->input == Input::set || value.field->input == Input::texts;
}

std::string joined(const std::vector<std::string> &texts) {
    std::string all;
    for (const std::string &text : texts)
        (all += text) += '\n';
    return all;
}

/// A list that this user changed after somebody else did.
void checkConflict(Engine &engine, const Value &value) {
    const settings::Fingerprint opened = engine.openedWith();
    const std::string stored = joined(value.storedList);
    if (isList(value) && opened.isKnown() && value.list != value.storedList &&
        !opened.holds(value.key, stored, false) &&
        !opened.holds(value.key, joined(value.list), false))
        engine.cgi()->addError(std::string("<i>") + value.field->label +
                               "</i> was changed by somebody else after this page was opened. "
                               "Nothing was saved; apply again to replace what is stored.");
}

void saveList(Engine &engine, const std::string &key, const std::string &word,
              const std::vector<std::string> &list, const std::string &stored) {
    // What its user left as it was shown stays as it is by now.
    const settings::Fingerprint opened = engine.openedWith();
    if (!opened.isKnown() || !opened.holds(key, joined(list), false) || stored == joined(list))
        settings::writeTextList(engine.config(), key, word, list);
}

/// A form for a place that is not there; names, too, what it gave settings that need others.
void refusePlace(Cgi &cgi, const settings::Page &page, const Chosen &chosen,
                 const settings::Submission &submission) {
    const std::string key = chosen.place().keys;
    cgi.addError(page.chooser.unknown + encodeSafe(chosen.name()));
    for (const settings::Section &section : page.sections)
        for (const Field &field : section.fields)
            if (*field.required.key == '.' &&
                !submission.text(key + field.required.key, 2).value_or("").empty())
                cgi.addError("No such form element: " + encodeSafe(key + field.key));
}

} // namespace

const settings::Page *settingsPage(Engine &engine) {
    auto &loaded = engine.pageTable();
    if (!loaded)
        if (const settings::PackedPage *packed = settings::PageRegistry::find(engine.formFile()))
            loaded = settings::load(*packed);
    return loaded ? &loaded->page : nullptr;
}

void defineValues(Engine &engine, const Values &values, settings::Rule rule) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    for (const Value &value : values.all())
        forElements(value, [&](const std::string &name, const FormElem &element) {
            engine.addElement(name, element);
        });
    if (!values.isSubmitted())
        return;
    settings::Problems problems;
    settings::checkRules(values, rule, problems);
    for (const settings::Problem &problem : problems.all())
        cgi->addError(problem.message);
    for (const Value &value : values.all()) {
        if (!isList(value))
            continue;
        checkConflict(engine, value);
        engine.onAccepted(
            [&engine, key = value.key, word = std::string(value.field->word), list = value.list,
             stored = joined(value.storedList)] { saveList(engine, key, word, list, stored); });
    }
}

Values shownValues(Engine &engine, std::span<const settings::Section> sections,
                   const Place &place) {
    Values stored(engine.config(), nullptr, place);
    stored.add(sections);
    // Of several forms on one page only one was sent; the others keep what is stored.
    const auto isDeclared = [&](const Value &value) {
        return engine.elements().contains(value.name);
    };
    if (!showsSubmission(engine) ||
        std::none_of(stored.all().begin(), stored.all().end(), isDeclared))
        return stored;
    const CgiSubmission submission(*engine.cgi());
    Values values(engine.config(), &submission, place);
    values.add(sections);
    return values;
}

void fingerprintInput(Engine &engine, Form &form, const Values &values) {
    settings::Fingerprint fingerprint(engine.session().sessionId());
    for (const Value &value : values.all()) {
        if (isList(value))
            fingerprint.add(value.key, joined(value.storedList), false);
        else
            forElements(value, [&](const std::string &name, const FormElem &element) {
                const std::string &key = element.key.empty() ? name : element.key;
                // Only of flags there is one key for each box.
                const std::string stored =
                    key == value.key ? value.stored : engine.config().getElement(key);
                fingerprint.add(key, settings::shownValue(element, stored), element.isSecret(key));
            });
    }
    form.hiddenInput(settings::fingerprint_field, fingerprint.text());
}

void sectionRows(Engine &engine, Table &table, std::span<const settings::Section> sections,
                 const Values &values) {
    auto value = values.all().begin();
    for (const settings::Section &section : sections) {
        if (section.offered != nullptr && !section.offered(engine.config()))
            continue;
        table.titleRow(section.title);
        for (std::size_t row = 0; row < section.fields.size(); ++row)
            valueRow(engine, table, *value++);
    }
}

void valueRow(Engine &engine, Table &table, const Value &value) {
    table.inputRow(value.field->label, settingInput(engine, value), value.field->help);
}

void defineSettings(Engine &engine) {
    const settings::Page *page = settingsPage(engine);
    Cgi *cgi = engine.requireCgi();
    if (page == nullptr || cgi == nullptr)
        return;
    const Chosen chosen(engine, page->chooser);
    const CgiSubmission submission(*cgi);
    if (!chosen.isKnown()) {
        refusePlace(*cgi, *page, chosen, submission);
        return;
    }
    const bool isSubmitted = engine.formWasSubmitted();
    if (isSubmitted && !engine.lockSettings())
        return;
    Values values(engine.config(), isSubmitted ? &submission : nullptr, chosen.place());
    values.add(page->sections);
    defineValues(engine, values, page->rule);
    if (!isSubmitted)
        engine.pageValues().emplace(std::move(values));
}

void renderSettings(Engine &engine) {
    const settings::Page *page = settingsPage(engine);
    Cgi *cgi = engine.requireCgi();
    if (page == nullptr || cgi == nullptr)
        return;
    const Chosen chosen(engine, page->chooser);
    if (!chosen.isKnown())
        return;
    if (!page->sections.empty()) {
        auto &opened = engine.pageValues();
        const Values values =
            opened ? std::move(*opened) : shownValues(engine, page->sections, chosen.place());
        Form form(*cgi, engine.formId());
        form.openForm("post", engine.formId());
        Table table(*cgi);
        table.open();
        chosen.row(engine, table);
        sectionRows(engine, table, page->sections, values);
        table.applyButtonRow();
        table.close();
        fingerprintInput(engine, form, values);
        form.closeForm();
    }
}

} // namespace zandorin::ui
