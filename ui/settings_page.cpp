#include "ui/settings_page.h"

#include "cgi/cgi.h"
#include "engine/cgi_submission.h"
#include "engine/engine.h"
#include "settings/form_check.h"
#include "settings/records.h"
#include "settings/registry.h"
#include "settings/rules.h"
#include "settings/several.h"
#include "ui/attempts.h"
#include "ui/chooser.h"
#include "ui/form.h"
#include "ui/form_values.h"
#include "ui/lines_input.h"
#include "ui/list_page.h"
#include "ui/service_words.h"
#include "ui/setting_input.h"
#include "ui/several_page.h"
#include "ui/table.h"
#include "util/escape.h"

#include <algorithm>

namespace zandorin::ui {

namespace {

using settings::elementOf;
using settings::Field;
using settings::Input;
using settings::Place;
using settings::Value;
using settings::Values;

/// Calls `use(name, element)` for each element that the value has.
template <typename Use> void forElements(const Value &value, const Use &use) {
    const Field &field = *value.field;
    switch (field.input) {
    case Input::lines: {
        // Each line is of the type; they are checked when they are submitted.
        FormElem element = elementOf(value, field.label, true);
        element.type = "unsafe_multiline_printable";
        use(value.name, element);
        return;
    }
    case Input::note:
    case Input::file:
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
            use(value.name, elementOf(value, field.label, field.held == nullptr));
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

/// What counts as submitted of fields of lines.
void takeLines(Engine &engine, const Values &values) {
    for (const Value &value : values.all()) {
        if (value.field->input != Input::lines)
            continue;
        const Value *file = values.find(std::string(value.field->key) + ".file");
        engine.elements()[value.name].given =
            submittedLines(engine, value, file == nullptr ? nullptr : file->field);
    }
}

/// A list that this user changed after somebody else did.
void checkConflict(Engine &engine, const Value &value) {
    const settings::Fingerprint opened = engine.openedWith();
    const std::string stored = joined(value.storedList);
    if (isList(value) && opened.isKnown() && value.list != value.storedList &&
        !opened.holds(value.name, stored, false) &&
        !opened.holds(value.name, joined(value.list), false))
        engine.cgi()->addError(settings::changedMeanwhile(value.field->label));
}

void saveList(Engine &engine, const std::string &name, const std::string &key,
              const std::string &word, const std::vector<std::string> &list,
              const std::string &stored) {
    // What its user left as it was shown stays as it is by now.
    const settings::Fingerprint opened = engine.openedWith();
    if (!opened.isKnown() || !opened.holds(name, joined(list), false) || stored == joined(list))
        settings::writeTextList(engine.config(), key, word, list);
}

void adoptTexts(Engine &engine, const settings::Page &page) {
    for (const settings::List &list : page.lists)
        settings::adoptText(engine.config(), list);
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

bool lockPage(Engine &engine, const settings::Page &page) {
    if (!engine.lockSettings())
        return false;
    adoptTexts(engine, page);
    return true;
}

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
    takeLines(engine, values);
    settings::Problems problems;
    settings::checkRules(values, rule, problems);
    for (const settings::Problem &problem : problems.all())
        cgi->addError(problem.message);
    for (const Value &value : values.all()) {
        if (!isList(value))
            continue;
        checkConflict(engine, value);
        engine.onAccepted([&engine, name = value.name, key = value.key,
                           word = std::string(value.field->word), list = value.list,
                           stored = joined(value.storedList)] {
            saveList(engine, name, key, word, list, stored);
        });
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
        if (!value.everywhere.empty())
            fingerprint.add(settings::sharedMark(value), settings::sharedState(value), false);
        if (isList(value))
            fingerprint.add(value.name, joined(value.storedList), false);
        else
            forElements(value, [&](const std::string &name, const FormElem &element) {
                const std::string &key = element.keyAs(name);
                // Only of flags there is one key for each box.
                const std::string stored =
                    key == value.key ? value.stored : engine.config().getElement(key);
                fingerprint.add(name, settings::shownValue(element, stored), element.isSecret(key));
            });
    }
    form.hiddenInput(settings::fingerprint_field, fingerprint.text());
}

void sectionRows(Engine &engine, Table &table, std::span<const settings::Section> sections,
                 const Values &values, const SectionRows &own) {
    std::span<const Value> rest = values.all();
    for (const settings::Section &section : sections) {
        if (!values.offers(section))
            continue;
        const auto rows = rest.first(section.fields.size());
        rest = rest.subspan(rows.size());
        if (own && own(table, section, rows))
            continue;
        if (*section.title != '\0')
            table.titleRow(section.title);
        for (const Value &value : rows)
            valueRow(engine, table, value);
    }
}

void settingsForm(Engine &engine, const std::string &name, const Chosen &chosen,
                  std::span<const settings::Section> sections, const Values &values,
                  const std::string &button, std::span<const settings::Attempt> attempts) {
    Form form(*engine.cgi(), engine.formId());
    form.openForm("post", name);
    Table table(*engine.cgi());
    table.open();
    chosen.row(engine, table);
    sectionRows(engine, table, sections, values);
    table.applyButtonRow(button);
    attemptRows(engine, table, attempts);
    table.close();
    fingerprintInput(engine, form, values);
    form.closeForm();
}

std::string textToBe(Engine &engine, const Value &value) {
    const FormElem &element = engine.elements()[value.name];
    const std::string text = element.given.value_or(value.text);
    return engine.openedWith().holds(value.name, text, element.isSecret(value.key))
               ? settings::shownValue(element, value.stored)
               : text;
}

void valueRow(Engine &engine, Table &table, const Value &value) {
    const bool isChoice = value.field->input == Input::flags || value.field->input == Input::set;
    if (isChoice && value.options.empty())
        return;
    table.inputRow(value.field->label, settingInput(engine, value), value.field->help);
}

void defineSettings(Engine &engine) {
    const settings::Page *page = settingsPage(engine);
    Cgi *cgi = engine.requireCgi();
    if (page == nullptr || cgi == nullptr)
        return;
    adoptTexts(engine, *page);
    if (isRecordRequest(*cgi, *page)) {
        defineRecords(engine, *page);
        return;
    }
    const Chosen chosen(engine, page->chooser);
    const CgiSubmission submission(*cgi);
    if (!chosen.isKnown()) {
        refusePlace(*cgi, *page, chosen, submission);
        return;
    }
    if (isAboutSeveral(engine, chosen)) {
        changeSeveral(engine, *page, chosen);
        return;
    }
    const bool isAttempt = defineAttempt(engine, *page);
    if (engine.formWasSubmitted() && !lockPage(engine, *page))
        return;
    const bool isSubmitted = engine.formWasSubmitted() || isAttempt;
    Values values(engine.config(), isSubmitted ? &submission : nullptr, chosen.place());
    values.add(page->sections);
    defineValues(engine, values, page->rule);
    if (!isSubmitted)
        engine.pageValues().emplace(std::move(values));
}

void renderSettings(Engine &engine, const Chosen::Cell &cell) {
    const settings::Page *page = settingsPage(engine);
    Cgi *cgi = engine.requireCgi();
    if (page == nullptr || cgi == nullptr)
        return;
    adoptTexts(engine, *page);
    const Chosen chosen(engine, page->chooser);
    if (!chosen.isKnown() || showRecord(engine, *page))
        return;
    if (isAboutSeveral(engine, chosen)) {
        showSeveral(engine, *page, chosen, cell);
        return;
    }
    showRefusals(*cgi, page->services);
    showAttempt(engine, *page);
    if (!page->sections.empty()) {
        auto &opened = engine.pageValues();
        const Values values =
            opened ? std::move(*opened) : shownValues(engine, page->sections, chosen.place());
        settingsForm(engine, engine.formId(), chosen, page->sections, values, "Apply",
                     page->attempts);
    }
    showLists(engine, *page);
}

} // namespace zandorin::ui
