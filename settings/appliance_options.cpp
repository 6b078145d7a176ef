#include "settings/appliance_options.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/libzdsupport/roles.h"
#include "settings/records.h"
#include "util/split.h"

#include <algorithm>

namespace zandorin::settings {

namespace {

bool holds(const std::vector<std::string> &texts, const std::string &text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

} // namespace

std::vector<Option> portNumbers(const ConfigManager &config, const std::string & /*place*/) {
    std::vector<Option> options;
    for (unsigned number = 1; number <= portCount(config); ++number)
        options.emplace_back(std::to_string(number), portLabel(config, number));
    return options;
}

std::vector<Option> groupOptions(const ConfigManager &config, const std::string & /*place*/) {
    std::vector<Option> options;
    for (const std::string &name : utilities::split(built_in_groups, " "))
        options.emplace_back(name);
    const RecordList records("config.groups", "group");
    for (const unsigned number : records.numbers(config)) {
        const std::string name = config.getElement(records.keyOf(number) + ".name");
        auto option = std::find_if(options.begin(), options.end(),
                                   [&](const Option &each) { return each.value == name; });
        if (option == options.end() && !name.empty())
            option = options.insert(options.end(), name);
        if (option != options.end() && option->title.empty())
            option->title = config.getElement(records.keyOf(number) + ".description");
    }
    return options;
}

std::vector<Option> roleOptions(const ConfigManager &config, const std::string &group) {
    utilities::Roles all;
    roles_add_from_group(all.handle(), config.getElement(group + ".name").c_str(), config);
    const std::vector<std::string> stored = readTextList(config, group + ".roles", "role");
    std::vector<Option> options;
    for (const role_record *role = ALL_ROLES; role->name != nullptr; ++role) {
        Option &option = options.emplace_back(role->name);
        option.title = role->description;
        option.fixed = roles_has(all.get(), role->name) && !holds(stored, role->name);
    }
    return options;
}

std::string rolesOfGroup(const ConfigManager &config, const std::string &group) {
    utilities::Roles all;
    roles_add_from_group(all.handle(), config.getElement(group + ".name").c_str(), config);
    return utilities::Roles::to_string(all.get());
}

} // namespace zandorin::settings
