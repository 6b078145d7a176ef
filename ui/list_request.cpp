#include "ui/list_request.h"

#include "cgi/cgi.h"
#include "platform/libzandorin/config_manager.h"
#include "settings/record_changes.h"
#include "ui/form.h"
#include "util/log.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin::ui {

namespace {

using settings::List;
using settings::Part;
using settings::RecordList;

constexpr const char *actions[] = {"add",     "edit", "delete", "enable",
                                   "disable", "up",   "down",   "copy"};

/// The words of nested lists where they are not the action itself. Those of an entry follow the
/// word of its list.
struct Words {
    std::string_view action;
    const char *link;
    const char *submit;
    const char *entryLink;
    const char *entrySubmit;
};
constexpr Words nested_words[] = {
    {"add", "edit", "apply", "_new", "_new"},
    {"edit", "modify", "apply", "", "_save"},
};

std::string textOf(const Cgi &cgi, const char *name) {
    return cgi.getVarString(name).raw;
}

Meant meantBy(const Cgi &cgi, const char *index, const char *opened) {
    constexpr unsigned most = 10000;
    const auto number = parseWhole(textOf(cgi, index));
    Meant meant;
    if (number && *number > 0 && *number <= most)
        meant.index = static_cast<unsigned>(*number);
    if (cgi.varStringExists(opened))
        meant.opened = textOf(cgi, opened);
    return meant;
}

/// The words of a list without further ones inside.
void readFlat(const Cgi &cgi, const settings::Page &page, ListRequest &request) {
    const std::string action = textOf(cgi, "action");
    if (std::find(std::begin(actions), std::end(actions), action) != std::end(actions))
        request.action = action;
    const std::string type = textOf(cgi, "type");
    for (const List &list : page.lists)
        if (type == list.word)
            request.list = &list;
    request.submitted = request.submitted && !textOf(cgi, "apply").empty();
}

const List *innerOf(const List &list, const std::string &word) {
    for (const List &inner : list.lists)
        if (wordOf(inner) == word)
            return &inner;
    return nullptr;
}

void readNested(const Cgi &cgi, const List &list, ListRequest &request) {
    const std::string name = textOf(cgi, "action");
    const std::string first = name.substr(0, name.find('_'));
    const std::string rest = name.substr(first.size());
    const bool isLink = name == "edit" || name == "modify";
    request.list = &list;
    if (isLink || (name == "apply" && cgi.varStringExists("index"))) {
        request.action = request.record.index == 0 ? "add" : "edit";
    } else if (name == "delete" || (!name.empty() && name == list.command)) {
        request.action = name;
        request.word = name == "delete" ? textOf(cgi, "list") : "";
    } else if (rest == "_new" || rest == "_save" || innerOf(list, name) != nullptr) {
        request.action = rest == "_new" ? "add" : "edit";
        request.word = first;
    }
    request.inner = innerOf(list, request.word);
    request.selects = request.submitted && cgi.varStringExists("select");
    request.probes = request.submitted && cgi.varStringExists("probe");
    request.submitted =
        request.submitted && !request.selects && !request.probes && !isLink && name != request.word;
}

std::optional<Part> requested(const ConfigManager &config, const List &list, const std::string &key,
                              const Meant &meant, bool adds, bool mustSay) {
    if (list.offered != nullptr && !list.offered(config))
        return std::nullopt;
    Part part = partAt(config, list, key, adds ? 0 : meant.index);
    const std::string atIndex = identityOf(config, part);
    if (adds || (!atIndex.empty() && (meant.opened ? atIndex == *meant.opened : !mustSay)))
        return part;
    for (const unsigned number : part.records().numbers(config)) {
        part = partAt(config, list, key, number);
        const std::string identity = identityOf(config, part);
        if (!identity.empty() && identity == meant.opened)
            return part;
    }
    return std::nullopt;
}

} // namespace

bool isNested(const List &list) {
    return !list.lists.empty();
}

std::string wordOf(const List &inner) {
    const std::string key = inner.key;
    return key.substr(1, key.find('_') - 1);
}

ListRequest listRequest(const Cgi &cgi, const settings::Page &page) {
    ListRequest request{.record = meantBy(cgi, "index", "opened"),
                        .entry = meantBy(cgi, "modify_index", "modify_opened"),
                        .submitted = cgi.getRequestMethod() == "POST"};
    if (!page.lists.empty() && isNested(page.lists.front()))
        readNested(cgi, page.lists.front(), request);
    else
        readFlat(cgi, page, request);
    if (request.action.empty())
        request.list = nullptr;
    return request;
}

CommandFields commandFields(const std::string &action, const At &record, const At *entry,
                            bool submits) {
    const std::string index = std::to_string(record.number);
    if (!isNested(record.list))
        return {{"action", action}, {"index", index}, {"type", record.list.word}};
    const std::string word = entry == nullptr ? "" : wordOf(entry->list);
    const auto *words =
        std::find_if(std::begin(nested_words), std::end(nested_words),
                     [&](const Words &candidate) { return candidate.action == action; });
    CommandFields fields = {
        {"action", words == std::end(nested_words) ? action
                   : entry == nullptr              ? (submits ? words->submit : words->link)
                                      : word + (submits ? words->entrySubmit : words->entryLink)},
        {"index", index}};
    if (entry != nullptr && action == "delete")
        fields.emplace_back("list", word);
    if (entry != nullptr && entry->number != 0)
        fields.emplace_back("modify_index", std::to_string(entry->number));
    return fields;
}

Part partAt(const ConfigManager &config, const List &list, const std::string &key,
            unsigned number) {
    const RecordList records(key, list.word);
    const std::string place = records.keyOf(number == 0 ? records.next(config) : number);
    return {.place = {.names = place, .keys = place},
            .sections = list.sections,
            .rule = list.rule,
            .list = &list,
            .listKey = key,
            .number = number};
}

std::string identityOf(const ConfigManager &config, const Part &record) {
    const std::string name = settings::nameOf(config, record);
    const bool byContents = *record.list->name == '\0' || isNested(*record.list);
    return name.empty() && byContents ? record.records().hashOf(config, record.number) : name;
}

std::optional<Part> requestedRecord(const ConfigManager &config, const ListRequest &request) {
    const List &list = *request.list;
    const bool adds = request.adds() && !request.isAboutEntry();
    auto part = requested(config, list, list.key, request.record, adds, request.submitted);
    if (part && adds && isNested(list))
        part->place.names = part->listKey + ".new";
    else if (part && request.submitted && request.record.index != 0)
        part->place.names = part->records().keyOf(request.record.index);
    return part;
}

std::optional<Part> requestedEntry(const ConfigManager &config, const ListRequest &request,
                                   const Part &record) {
    if (request.inner == nullptr)
        return std::nullopt;
    auto part = requested(config, *request.inner, record.place.keys + request.inner->key,
                          request.entry, request.adds(), false);
    if (!part)
        return part;
    const unsigned shown = request.submitted ? request.entry.index : part->number;
    part->place.names = request.word + "." + (part->isNew() ? "new" : std::to_string(shown));
    return part;
}

std::vector<Part> listedRecords(const ConfigManager &config, const List &list, const Part *outer) {
    const RecordList records(outer == nullptr ? list.key : outer->place.keys + list.key, list.word);
    std::vector<Part> found;
    for (const unsigned number : records.checkedNumbers(config)) {
        found.push_back(partAt(config, list, records.key(), number));
        if (identityOf(config, found.back()).empty()) {
            logRecord(Priority::error, "Invalid %s '%s': no name", list.word,
                      records.keyOf(number).c_str());
            found.pop_back();
        }
    }
    return found;
}

void closeRecordForm(const ConfigManager &config, Form &form, const ListRequest &request,
                     const Part &record, const Part *entry) {
    // A submission that was refused goes on being about what it was opened as.
    const auto shown = [&](const List &list, const Part &part, const Meant &meant) {
        const bool isAgain = request.submitted && meant.index != 0;
        const bool isNext = part.isNew() && !isNested(*request.list);
        return At{list, isAgain ? meant.index : isNext ? part.records().next(config) : part.number};
    };
    const At shownRecord = shown(*request.list, record, request.record);
    const At shownEntry =
        entry == nullptr ? shownRecord : shown(*request.inner, *entry, request.entry);
    for (const auto &[name, value] :
         commandFields(request.action, shownRecord, entry == nullptr ? nullptr : &shownEntry, true))
        form.hiddenInput(name, value);
    form.hiddenInput("opened", identityOf(config, record));
    if (entry != nullptr)
        form.hiddenInput("modify_opened", identityOf(config, *entry));
    form.closeForm();
}

} // namespace zandorin::ui
