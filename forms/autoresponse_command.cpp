#include "forms/autoresponse_command.h"

#include "cgi/cgi.h"
#include "forms/autoresponse_records.h"
#include "platform/libzandorin/config_manager.h"
#include "util/log.h"
#include "util/strings.h"

namespace zandorin::autoresponse {

namespace {

unsigned indexField(const Cgi &cgi, const char *name) {
    constexpr std::int64_t highest = 1000000; // no list is that long
    const auto number = parseWhole(cgi.getVarString(name).raw);
    return number && *number > 0 && *number <= highest ? static_cast<unsigned>(*number) : 0;
}

} // namespace

Command readCommand(const Cgi &cgi) {
    Command command;
    command.name = cgi.getVarString("action").raw;
    if (command.name.empty())
        command.name = "view";
    command.changes = cgi.getRequestMethod() == "POST";
    command.select = cgi.varStringExists("select");
    command.hasIndex = cgi.varStringExists("index");
    command.index = indexField(cgi, "index");
    command.action = indexField(cgi, "modify_index");
    if (command.name.starts_with("trigger") || command.name.starts_with("resolve"))
        command.list = command.name.substr(0, command.name.find('_'));
    else if (command.name == "delete")
        command.list = cgi.getVarString("list").raw;
    return command;
}

std::string actionTypeField(const std::string &list) {
    return list + "_action_type";
}

Place recordPlace(const ConfigManager &config, unsigned index) {
    if (index == 0)
        return {.fields = "config.autoresponse.new.",
                .keys = recordKey(countEntries(config, all_records) + 1) + "."};
    return {.fields = recordKey(index) + ".", .keys = recordKey(index) + "."};
}

Place actionPlace(const ConfigManager &config, const Command &command) {
    const std::string number = command.isNewAction() ? "new" : std::to_string(command.action);
    const std::string fields = command.list + "." + number + ".";
    return {.fields = fields, .keys = resolveActionKey(config, recordKey(command.index), fields)};
}

bool checkActionIndex(Cgi &cgi, unsigned action, unsigned total) {
    if (action >= 1 && action <= total)
        return true;
    logRecord(Priority::error, "Modifying action out of range %d -> %d", static_cast<int>(action),
              static_cast<int>(total));
    cgi.addError(no_such_action);
    return false;
}

Place globalPlace() {
    return {.fields = "config.autoresponse.", .keys = "config.autoresponse."};
}

} // namespace zandorin::autoresponse
