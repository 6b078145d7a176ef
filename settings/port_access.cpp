#include "settings/port_access.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzdsupport/roles.h"
#include "settings/records.h"

#include <algorithm>

namespace zandorin {

PortAccess::PortAccess(const ConfigManager &config, const std::string &user) : config_(config) {
    utilities::Roles roles;
    if (roles_add_from_user(roles.handle(), user.c_str(), config) != 0)
        return;
    all_ = roles_has(roles.get(), "admin");
    if (all_ || !roles_has(roles.get(), "ports"))
        return;
    const settings::RecordList users("config.users", "user");
    const settings::RecordList groups("config.groups", "group");
    const auto record = users.find(config, ".username", user);
    if (!record)
        return;
    keys_.push_back(users.keyOf(*record));
    for (const std::string &name :
         settings::readTextList(config, keys_.front() + ".groups", "group"))
        if (const auto group = groups.find(config, ".name", name))
            keys_.push_back(groups.keyOf(*group));
}

bool PortAccess::mayUse(unsigned port) const {
    const std::string flag = ".port" + std::to_string(port);
    return all_ || std::any_of(keys_.begin(), keys_.end(), [&](const std::string &key) {
               return config_.getBoolean(key + flag);
           });
}

} // namespace zandorin
