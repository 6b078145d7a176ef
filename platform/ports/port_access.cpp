#include "platform/ports/port_access.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/libzdsupport/roles.h"

#include <algorithm>

namespace zandorin {

PortAccess::PortAccess(const ConfigManager &config, const std::string &user) : config_(config) {
    utilities::Roles roles;
    roles_add_from_user(roles.handle(), user.c_str(), config);
    all_ = roles_has(roles.get(), "admin");
    if (roles_has(roles.get(), "ports"))
        keys_ = grantingRecords(config, user);
}

bool PortAccess::has(unsigned number) const {
    if (number == 0 || number > portCount(config_))
        return false;
    const std::string flag = ".port" + std::to_string(number);
    return all_ || std::any_of(keys_.begin(), keys_.end(), [&](const std::string &key) {
               return config_.getBoolean(key + flag);
           });
}

bool mayUsePort(const ConfigManager &config, const std::string &user, unsigned number) {
    return PortAccess(config, user).has(number);
}

} // namespace zandorin
