#include "cgi/cgi.h"
#include "engine/cgi_submission.h"
#include "engine/engine.h"
#include "settings/filled_in.h"
#include "settings/record_changes.h"
#include "settings/variants.h"
#include "ui/form.h"
#include "ui/inputs.h"
#include "ui/list_page.h"
#include "ui/list_request.h"
#include "ui/page.h"
#include "ui/table.h"
#include "ui/variant_panel.h"
#include "util/escape.h"
#include "util/strings.h"

#include <algorithm>

// What a list looks like: its table, the page of a record, and the question before it is deleted.

namespace zandorin::ui {

namespace {

using settings::Input;
using settings::List;
using settings::Part;
using settings::Values;

/// Where the panel of an entry is on the page.
constexpr const char *panel = "action-panel";

std::string capital(std::string word) {
    word[0] = static_cast<char>(word[0] - 'a' + 'A');
    return word;
}

std::string formTarget(Engine &engine) {
    return "?form=" + engine.formId();
}

bool isTaken(Cgi &cgi, const ListRequest &request) {
    return request.submitted && !cgi.hasErrors() && !cgi.hasPageError();
}

/// A link for an action, with its words.
struct Link {
    const char *action;
    const char *label;
};

/// A link that acts by itself on what may stand elsewhere by now says which record it means.
std::string actionLink(Engine &engine, const Link &action, const Part &record, const Part *entry) {
    const At at{*record.list, record.number};
    const At inner = entry == nullptr ? at : At{*entry->list, entry->number};
    std::string target = formTarget(engine);
    for (const auto &[name, value] :
         commandFields(action.action, at, entry == nullptr ? nullptr : &inner))
        target += concat({"&", name, "=", value});
    const std::string_view name = action.action;
    if (name == "up" || name == "down" || name == "copy")
        target += "&opened=" + engine.cgi()->getSafeUri(identityOf(engine.config(), record));
    if (entry != nullptr && name == "edit")
        target += std::string("#") + panel;
    return link(target, action.label);
}

/// In the words of a nested list.
std::vector<Link> nestedLinks(const List &list) {
    std::vector<Link> links = {{"edit", "Modify"}, {"delete", "Delete"}};
    if (*list.command != '\0')
        links.push_back({list.command, list.commandTitle});
    return links;
}

std::vector<Link> flatLinks(const ConfigManager &config, const std::vector<Part> &records,
                            std::size_t row) {
    const List &list = *records[row].list;
    const bool fixed = settings::isFixed(list, settings::nameOf(config, records[row]));
    const bool toggles = *list.toggle != '\0' && !fixed;
    const bool disabled = toggles && config.getBoolean(records[row].place.keys + list.toggle);
    std::vector<Link> links = {{"edit", "Edit"}};
    const auto add = [&](bool offered, const char *action, const char *label) {
        if (offered)
            links.push_back({action, label});
    };
    add(!fixed, "delete", "Delete");
    add(toggles && disabled, "enable", "Enable");
    add(toggles && !disabled, "disable", "Disable");
    add(list.moves && row > 0, "up", "Up");
    add(list.moves && row + 1 < records.size(), "down", "Down");
    add(list.copies, "copy", "Copy");
    return links;
}

/// A stored value in the words of its field.
std::string wordsOf(const ConfigManager &config, const Part &record, const char *column) {
    const List &list = *record.list;
    if (std::string_view(column) == list.variantKey)
        return settings::variantTitle(config, list, record.place.keys);
    if (std::string_view(column) == list.name)
        return recordName(config, record);
    return settings::columnWords(config, list.sections, record.place.keys, column)
        .value_or(config.getElement(record.place.keys + column));
}

std::string cellMarkup(const ConfigManager &config, const settings::Column &column,
                       const Part &record) {
    const std::string &key = record.place.keys;
    const std::string status = column.status == nullptr ? "" : column.status(config, key);
    if (*column.key == '\0')
        return column.markup ? status : escapeXmlText(status);
    return escapeXmlText(wordsOf(config, record, column.key) +
                         (status.empty() ? "" : " (" + status + ")"));
}

/// A form of its own, so that the button works without scripts.
void addButton(Engine &engine, const At &record, const At *entry) {
    const List &list = entry == nullptr ? record.list : entry->list;
    Form form(*engine.cgi(), engine.formId());
    form.openForm("get", std::string("add-") + list.word,
                  formTarget(engine) + (entry == nullptr ? "" : std::string("#") + panel));
    for (const auto &[name, value] : commandFields("add", record, entry))
        if (value != "0")
            form.hiddenInput(name, value);
    *engine.cgi() << "<p>" +
                         getApplyButton("add", (isNested(record.list) ? "New " : "Add ") +
                                                   std::string(list.singular)) +
                         "</p>";
    form.closeForm();
}

/// The table of a list, which is one inside the record `outer` unless that is null.
void showList(Engine &engine, const List &list, const Part *outer, const ListHooks &hooks) {
    const ConfigManager &config = engine.config();
    const std::vector<Part> records = listedRecords(config, list, outer);
    const bool isFlat = outer == nullptr && !isNested(list);
    std::vector<Link> links;
    if (!isFlat)
        links = nestedLinks(list);
    std::vector<std::string> headings;
    for (const settings::Column &column : list.columns)
        headings.emplace_back(column.title);
    for (const Link &action : links)
        headings.emplace_back(action.label);
    if (isFlat)
        headings.emplace_back("");
    std::vector<std::vector<std::string>> rows;
    for (std::size_t row = 0; row < records.size(); ++row) {
        const Part &record = records[row];
        std::vector<std::string> cells;
        for (const settings::Column &column : list.columns)
            cells.push_back(cellMarkup(config, column, record) +
                            (hooks.note ? hooks.note(column, record) : ""));
        if (isFlat)
            links = flatLinks(config, records, row);
        for (const Link &action : links) {
            const std::string html = actionLink(engine, action, outer == nullptr ? record : *outer,
                                                outer == nullptr ? nullptr : &record);
            if (isFlat && &action != &links.front())
                cells.back() += " " + html;
            else
                cells.push_back(html);
        }
        rows.push_back(std::move(cells));
    }
    cellTable(engine, list.title, headings, rows, list.empty,
              isFlat ? "field-input" : "field-output");
}

void showQuestion(Engine &engine, Cgi &cgi, const ListRequest &request, const Part &record,
                  const Part *entry) {
    const ConfigManager &config = engine.config();
    const Part &part = entry == nullptr ? record : *entry;
    const List &list = *part.list;
    const bool deletes = request.action == "delete";
    const std::string label = deletes ? "Delete" : list.commandTitle;
    std::string question = deletes ? list.question : list.commandQuestion;
    if (entry != nullptr)
        question =
            settings::filledIn(question, settings::variantSubject(config, list, part.place.keys));
    Form form(cgi, engine.formId());
    form.openForm("post", request.action, formTarget(engine));
    Table table(cgi);
    table.open();
    table.titleRow(label + " " + list.singular);
    table.textRow(settings::filledIn(question, recordName(config, record)));
    table.openRow();
    table.openCell("field-input", 99);
    cgi << getApplyButton("apply", deletes ? label : label + " " + list.singular) << " "
        << (entry != nullptr         ? actionLink(engine, {"edit", "Back"}, record, nullptr)
            : isNested(*record.list) ? link(formTarget(engine), "Back")
                                     : link(formTarget(engine), "Keep"));
    table.closeCell();
    table.closeRow();
    table.close();
    closeRecordForm(config, form, request, record, entry);
}

bool holdsPassword(const Values &values) {
    return std::any_of(values.all().begin(), values.all().end(), [](const settings::Value &value) {
        return value.field->input == Input::password && value.submitted && !value.text.empty() &&
               value.text != settings::password_placeholder;
    });
}

bool takesFile(const Values &values) {
    return std::any_of(values.all().begin(), values.all().end(), [](const settings::Value &value) {
        return value.field->input == Input::file;
    });
}

/// The title of a record's page, or of the panel of an entry.
std::string titleOf(const ConfigManager &config, const Part &record, const Part *entry) {
    const Part &part = entry == nullptr ? record : *entry;
    const List &list = *part.list;
    if (part.isNew() || !isNested(*record.list))
        return std::string(isNested(*record.list) ? "New "
                           : part.isNew()         ? "Add "
                                                  : "Edit ") +
               list.singular;
    if (entry == nullptr)
        return recordName(config, part);
    const settings::Variant *variant = settings::storedVariant(config, list, part.place.keys);
    return variant == nullptr ? capital(list.word) : variant->title;
}

/// A whole page, or the panel of an entry. `typed`: as it was sent.
void showFields(Engine &engine, Cgi &cgi, const ListRequest &request, const Part &record,
                const Part *entry, bool typed, const SectionRows &rows) {
    const ConfigManager &config = engine.config();
    const Part &part = entry == nullptr ? record : *entry;
    const List &list = *part.list;
    const CgiSubmission submission(cgi);
    Values values(config, typed ? &submission : nullptr, part.place);
    values.addGeneral(list);
    if (holdsPassword(values))
        cgi << getInfo("Nothing was saved. Type the password again.");
    Form form(cgi, engine.formId());
    form.openForm("post", list.word, formTarget(engine),
                  takesFile(values) ? "multipart/form-data" : "");
    Table table(cgi);
    table.open();
    table.titleRow(titleOf(config, record, entry));
    sectionRows(engine, table, list.sections, values, rows);
    if (entry != nullptr && !part.isNew()) {
        const settings::Value type = *values.find(list.variantKey);
        form.hiddenInput(type.name, type.text);
        if (const auto *variant = settings::findVariant(list.variants, type.text))
            fieldRows(engine, table, variant->fields, values);
        else
            table.textRow(list.noVariant);
    } else if (!list.variants.empty()) {
        if (entry == nullptr)
            table.titleRow(capital(list.variantWord));
        variantRow(engine, table, list, values);
    }
    if (entry != nullptr) {
        const settings::RecordList entries = part.records();
        const auto last = entries.numbers(config).size() + (part.isNew() ? 1 : 0);
        const auto shown = part.isNew() ? last : entries.rankOf(config, part.number);
        const std::string position = part.place.names + ".position";
        const int wanted = typed ? cgi.getVarNumber(position) : 0;
        table.menuInputNumRangeRow("Position", position, 1, static_cast<int>(last),
                                   wanted > 0 ? wanted : static_cast<int>(shown),
                                   capital(list.word) +
                                       "s are started in this order, each after its own delay.");
    }
    table.applyButtonRow(entry != nullptr         ? "Save " + capital(list.word)
                         : isNested(*record.list) ? std::string("Save ") + list.singular
                                                  : "Apply");
    if (*list.probe != '\0' && !part.isNew())
        table.inputRow("", getApplyButton("probe", list.probe), "As it is saved.");
    table.close();
    fingerprintInput(engine, form, values);
    closeRecordForm(config, form, request, record, entry);
}

/// The page of a record with lists inside: below its fields their tables, and the panel of the
/// entry that the request is about.
void showNested(Engine &engine, Cgi &cgi, const ListRequest &request, const Part &record,
                const Part *entry, const ListHooks &hooks) {
    const List &list = *record.list;
    const bool isSent = request.submitted || request.selects || request.probes;
    cgi << concat({"<script type=\"text/javascript\" src=\"", resourcePath("/scripts/variants.js"),
                   "\"></script>"});
    ListRequest own = request;
    own.action = record.isNew() ? "add" : "edit";
    showFields(engine, cgi, own, record, nullptr, isSent && !request.isAboutEntry(), hooks.rows);
    cgi << "<br>";
    if (settings::storedVariant(engine.config(), list, record.place.keys) == nullptr)
        cellTable(
            engine, capital(list.lists.front().word) + "s", {}, {},
            concat({"Please select a ", list.variantWord, " type and save the ", list.singular,
                    " before attempting to add ", list.lists.front().word, "s"}));
    else
        for (const List &inner : list.lists) {
            showList(engine, inner, &record, {});
            cgi << "<br>";
            const At next{inner, 0};
            if (entry != nullptr && entry->list == &inner) {
                cgi << openDiv(panel, "", true) << closeDiv();
                showFields(engine, cgi, request, record, entry, isSent, nullptr);
            } else {
                addButton(engine, {list, record.number}, &next);
            }
            cgi << "<br>";
        }
    cgi << "<p>" + link(formTarget(engine), concat({"All ", list.singular, "s"})) + "</p>";
}

} // namespace

void cellTable(Engine &engine, const std::string &title, const std::vector<std::string> &headings,
               const std::vector<std::vector<std::string>> &rows, const std::string &empty,
               const std::string &cellClass) {
    Table table(*engine.cgi());
    table.open();
    table.titleRow(title);
    if (rows.empty()) {
        table.textRow(empty);
    } else {
        table.openRow();
        for (const std::string &heading : headings)
            table.cell("field-label", heading);
        table.closeRow();
    }
    for (const std::vector<std::string> &row : rows) {
        table.openRow();
        for (const std::string &cell : row)
            table.unsafeCell(cellClass, cell);
        table.closeRow();
    }
    table.close();
}

std::string recordName(const ConfigManager &config, const Part &record) {
    const std::string name = settings::nameOf(config, record);
    return name.empty() ? record.list->singular + concat({" ", std::to_string(record.number)})
                        : name;
}

bool showRecord(Engine &engine, const settings::Page &page, const ListHooks &hooks) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr || !isRecordRequest(*cgi, page))
        return false;
    ListRequest request = listRequest(*cgi, page);
    const List &list = *request.list;
    const ConfigManager &config = engine.config();
    const bool stays = isNested(list) && (request.isAboutEntry() || request.edits());
    const bool isDone = isTaken(*cgi, request);
    if (request.isCommand() || (isDone && !stays))
        return false;
    if (isDone && !request.isAboutEntry()) {
        // It is there, with the name that was sent.
        const std::string names =
            request.adds() ? std::string(list.key) + ".new"
                           : settings::RecordList(list.key, list.word).keyOf(request.record.index);
        request.record.opened = cgi->getVarString(names + list.name).raw;
        request.action = "edit";
    }
    const auto record = requestedRecord(config, request);
    if (!record)
        return false;
    const auto entry = isDone ? std::nullopt : requestedEntry(config, request, *record);
    const bool isGone = request.isAboutEntry() && !entry;
    if (request.asks() && !request.submitted && !isGone)
        showQuestion(engine, *cgi, request, *record, entry ? &*entry : nullptr);
    else if (stays)
        showNested(engine, *cgi, request, *record, entry && request.edits() ? &*entry : nullptr,
                   hooks);
    else if (request.edits())
        showFields(engine, *cgi, request, *record, nullptr, request.submitted, hooks.rows);
    else
        return false;
    return true;
}

void showLists(Engine &engine, const settings::Page &page, const ListHooks &hooks) {
    if (engine.requireCgi() == nullptr)
        return;
    for (const List &list : page.lists) {
        if (list.offered != nullptr && !list.offered(engine.config()))
            continue;
        showList(engine, list, nullptr, hooks);
        addButton(engine, {list, 0}, nullptr);
    }
}

void renderRecords(Engine &engine, const settings::Page &page, const ListHooks &hooks) {
    if (!showRecord(engine, page, hooks))
        showLists(engine, page, hooks);
}

} // namespace zandorin::ui
