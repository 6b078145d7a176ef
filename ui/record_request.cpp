#include "ui/record_request.h"

#include "cgi/cgi.h"
#include "platform/libzandorin/config_manager.h"
#include "ui/form.h"
#include "util/log.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin::ui {

namespace {

using settings::List;
using settings::RecordList;

constexpr const char *actions[] = {"add",     "edit", "delete", "enable",
                                   "disable", "up",   "down",   "copy"};

} // namespace

RecordRequest recordRequest(const Cgi &cgi, const settings::Page &page) {
    RecordRequest request;
    const std::string action = cgi.getVarString("action").raw;
    if (std::find(std::begin(actions), std::end(actions), action) != std::end(actions))
        request.action = action;
    const std::string type = cgi.getVarString("type").raw;
    for (const List &list : page.lists)
        if (type == list.word)
            request.list = &list;
    constexpr unsigned most = 10000;
    const auto index = parseWhole(cgi.getVarString("index").raw);
    if (index && *index > 0 && *index <= most)
        request.index = static_cast<unsigned>(*index);
    if (cgi.varStringExists("opened"))
        request.opened = cgi.getVarString("opened").raw;
    request.submitted = cgi.getRequestMethod() == "POST" && !cgi.getVarString("apply").raw.empty();
    return request;
}

std::string identityOf(const ConfigManager &config, const List &list, unsigned number) {
    const RecordList records(list.key, list.word);
    if (*list.name == '\0')
        return records.hashOf(config, number);
    return records.contains(config, number) ? config.getElement(records.keyOf(number) + list.name)
                                            : "";
}

std::optional<unsigned> requestedRecord(const ConfigManager &config, const RecordRequest &request) {
    const List &list = *request.list;
    const RecordList records(list.key, list.word);
    if (list.offered != nullptr && !list.offered(config))
        return std::nullopt;
    if (request.adds())
        return records.next(config);
    const std::string atIndex = identityOf(config, list, request.index);
    const bool isMeant = request.opened ? atIndex == *request.opened : !request.submitted;
    if (isMeant && !atIndex.empty())
        return request.index;
    if (request.opened && !request.opened->empty())
        for (const unsigned number : records.numbers(config))
            if (identityOf(config, list, number) == *request.opened)
                return number;
    return std::nullopt;
}

settings::Place placeOf(const RecordRequest &request, unsigned number) {
    const RecordList records(request.list->key, request.list->word);
    const unsigned named = request.submitted && request.index != 0 ? request.index : number;
    return {.names = records.keyOf(named), .keys = records.keyOf(number)};
}

std::vector<ListedRecord> listedRecords(const ConfigManager &config, const List &list) {
    const RecordList records(list.key, list.word);
    std::vector<ListedRecord> found;
    for (const unsigned number : records.checkedNumbers(config)) {
        const std::string key = records.keyOf(number);
        if (*list.name != '\0' && config.getElement(key + list.name).empty())
            logRecord(Priority::error, "Invalid %s '%s': no name", list.word, key.c_str());
        else
            found.push_back({.number = number, .key = key});
    }
    return found;
}

bool isFixed(const List &list, const std::string &name) {
    const std::vector<std::string> names = utilities::split(list.fixed, " ");
    return std::find(names.begin(), names.end(), name) != names.end();
}

void closeRecordForm(Form &form, const RecordRequest &request, unsigned number,
                     const std::string &identity) {
    const bool isAgain = request.submitted && request.index != 0;
    form.hiddenInput("action", request.action);
    form.hiddenInput("type", request.list->word);
    form.hiddenInput("index", std::to_string(isAgain ? request.index : number));
    form.hiddenInput("opened", identity);
    form.closeForm();
}

} // namespace zandorin::ui
