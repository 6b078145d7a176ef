#include "cgi/cgi.h"
#include "engine/cgi_submission.h"
#include "engine/engine.h"
#include "platform/libzandorin/config_text.h"
#include "settings/filled_in.h"
#include "ui/form.h"
#include "ui/inputs.h"
#include "ui/page.h"
#include "ui/record_page.h"
#include "ui/record_request.h"
#include "ui/settings_page.h"
#include "ui/table.h"
#include "util/escape.h"

#include <algorithm>

// What a list looks like: its table, the page of a record, and the question before it is deleted.

namespace zandorin::ui {

namespace {

using settings::Field;
using settings::Input;
using settings::List;
using settings::Values;

/// A link that acts by itself on what may stand elsewhere by now says which record it means.
std::string actionLink(Engine &engine, const List &list, const ListedRecord &record,
                       const char *action, const char *label) {
    std::string target = "?form=" + engine.formId() + "&action=" + action +
                         "&index=" + std::to_string(record.number) + "&type=" + list.word;
    const std::string name = action;
    if (name == "up" || name == "down" || name == "copy")
        target +=
            "&opened=" + engine.cgi()->getSafeUri(identityOf(engine.config(), list, record.number));
    return link(target, label);
}

std::string actionLinks(Engine &engine, const List &list, const std::vector<ListedRecord> &records,
                        std::size_t row) {
    const ListedRecord &record = records[row];
    const ConfigManager &config = engine.config();
    const bool fixed = isFixed(list, config.getElement(record.key + list.name));
    std::string html;
    const auto add = [&](bool offered, const char *action, const char *label) {
        if (offered)
            html += (html.empty() ? "" : " ") + actionLink(engine, list, record, action, label);
    };
    add(true, "edit", "Edit");
    add(!fixed, "delete", "Delete");
    const bool toggles = *list.toggle != '\0' && !fixed;
    const bool disabled = toggles && config.getBoolean(record.key + list.toggle);
    add(toggles && disabled, "enable", "Enable");
    add(toggles && !disabled, "disable", "Disable");
    add(list.moves && row > 0, "up", "Up");
    add(list.moves && row + 1 < records.size(), "down", "Down");
    add(list.copies, "copy", "Copy");
    return html;
}

/// A stored value in the words of its field.
std::string storedWords(const ConfigManager &config, const List &list, const char *column,
                        const std::string &key) {
    std::string stored = config.getElement(key + column);
    for (const settings::Section &section : list.sections)
        for (const Field &field : section.fields) {
            if (std::string_view(field.key) != column)
                continue;
            if (field.input == Input::check)
                return platform::isTrue(stored) ? "yes" : "";
            // Of a menu the first choice holds while nothing is stored.
            for (const settings::Option &option : settings::optionsOf(field, config, key))
                if (option.value == stored || stored.empty())
                    return option.label;
        }
    return stored;
}

std::string cellMarkup(const ConfigManager &config, const List &list,
                       const settings::Column &column, const std::string &key) {
    if (column.status == nullptr)
        return escapeXmlText(storedWords(config, list, column.key, key));
    const std::string status = column.status(config, key + column.key);
    return column.markup ? status : escapeXmlText(status);
}

/// A form of its own, so that the button works without scripts.
void addButton(Engine &engine, Cgi &cgi, const List &list) {
    Form form(cgi, engine.formId());
    form.openForm("get", std::string("add-") + list.word, "?form=" + engine.formId());
    form.hiddenInput("action", "add");
    form.hiddenInput("type", list.word);
    cgi << "<p>" << getApplyButton("add", std::string("Add ") + list.singular) << "</p>";
    form.closeForm();
}

void showList(Engine &engine, Cgi &cgi, const List &list, const RecordHooks &hooks) {
    const ConfigManager &config = engine.config();
    const std::vector<ListedRecord> records = listedRecords(config, list);
    Table table(cgi);
    table.open();
    table.titleRow(list.title);
    if (records.empty()) {
        table.textRow(list.empty);
    } else {
        table.openRow();
        for (const settings::Column &column : list.columns)
            table.cell("field-label", column.title);
        table.cell("field-label", "");
        table.closeRow();
    }
    for (std::size_t row = 0; row < records.size(); ++row) {
        const std::string &key = records[row].key;
        table.openRow();
        for (const settings::Column &column : list.columns) {
            const bool isNoted = &column == list.columns.data() && hooks.note;
            table.unsafeCell("field-input", cellMarkup(config, list, column, key) +
                                                (isNoted ? hooks.note(list, key) : ""));
        }
        table.unsafeCell("field-input", actionLinks(engine, list, records, row));
        table.closeRow();
    }
    table.close();
    addButton(engine, cgi, list);
}

void showQuestion(Engine &engine, Cgi &cgi, const RecordRequest &request, unsigned number) {
    const List &list = *request.list;
    const std::string identity = identityOf(engine.config(), list, number);
    const std::string page = "?form=" + engine.formId();
    Form form(cgi, engine.formId());
    form.openForm("post", "delete", page);
    Table table(cgi);
    table.open();
    table.titleRow(std::string("Delete ") + list.singular);
    table.textRow(settings::filledIn(list.question, identity));
    table.openRow();
    table.openCell("field-input", 99);
    cgi << getApplyButton("apply", "Delete") << " " << link(page, "Keep");
    table.closeCell();
    table.closeRow();
    table.close();
    closeRecordForm(form, request, number, identity);
}

bool holdsPassword(const Values &values) {
    return std::any_of(values.all().begin(), values.all().end(), [](const settings::Value &value) {
        return value.field->input == Input::password && value.submitted && !value.text.empty() &&
               value.text != settings::password_placeholder;
    });
}

bool takesFile(const List &list) {
    for (const settings::Section &section : list.sections)
        for (const Field &field : section.fields)
            if (field.input == Input::file)
                return true;
    return false;
}

void showFields(Engine &engine, Cgi &cgi, const RecordRequest &request, unsigned number) {
    const List &list = *request.list;
    const CgiSubmission submission(cgi);
    Values values(engine.config(), request.submitted ? &submission : nullptr,
                  placeOf(request, number));
    values.add(list.sections);
    if (holdsPassword(values))
        cgi << getInfo("Nothing was saved. Type the password again.");
    Form form(cgi, engine.formId());
    form.openForm("post", list.word, "?form=" + engine.formId(),
                  takesFile(list) ? "multipart/form-data" : "");
    Table table(cgi);
    table.open();
    table.titleRow(std::string(request.adds() ? "Add " : "Edit ") + list.singular);
    sectionRows(engine, table, list.sections, values);
    table.applyButtonRow();
    table.close();
    fingerprintInput(engine, form, values);
    closeRecordForm(form, request, number,
                    request.adds() ? "" : identityOf(engine.config(), list, number));
}

} // namespace

bool showRecord(Engine &engine, const settings::Page &page) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr || !isRecordRequest(*cgi, page))
        return false;
    const RecordRequest request = recordRequest(*cgi, page);
    const bool isDone = request.submitted && !cgi->hasErrors() && !cgi->hasPageError();
    if (isDone || request.isCommand())
        return false;
    const auto number = requestedRecord(engine.config(), request);
    if (!number || (request.submitted && !request.edits()))
        return false;
    if (request.edits())
        showFields(engine, *cgi, request, *number);
    else
        showQuestion(engine, *cgi, request, *number);
    return true;
}

void showLists(Engine &engine, const settings::Page &page, const RecordHooks &hooks) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    for (const List &list : page.lists)
        if (list.offered == nullptr || list.offered(engine.config()))
            showList(engine, *cgi, list, hooks);
}

void renderRecords(Engine &engine, const settings::Page &page, const RecordHooks &hooks) {
    if (!showRecord(engine, page))
        showLists(engine, page, hooks);
}

} // namespace zandorin::ui
