#include "engine/appliance_state.h"

#include "platform/accounts/accounts.h"
#include "platform/libzandorin/config_manager.h"

#include <algorithm>
#include <string>

namespace zandorin {

namespace {

/// True when `holds` is, for some number from 1 to `count`.
template <typename Predicate> bool anyNumber(unsigned count, Predicate holds) {
    // A count from a damaged file must not keep a request busy for minutes.
    const unsigned last = std::min(count, 100000U);
    for (unsigned number = 1; number <= last; ++number)
        if (holds(std::to_string(number)))
            return true;
    return false;
}

} // namespace

bool isRootPasswordChanged(const ConfigManager &) {
    return !user_ispassword(ShadowFile(), "root", "kestrel");
}

bool isWanConfigured(const ConfigManager &store) {
    return !store.getElement("config.interfaces.wan.mode").empty();
}

bool hasUsers(const ConfigManager &store) {
    return !store.getElement("config.users.total").empty();
}

bool hasCmsNodes(const ConfigManager &store) {
    return store.getSize("config.cms.nodes.total") != 0;
}

bool isDialerEnabled(const ConfigManager &store) {
    return store.getBoolean("config.cellmodem.ppp.dialer.enabled");
}

bool isDialoutMasqueradeEnabled(const ConfigManager &store) {
    return store.getBoolean("config.firewall.dialout.masquerade.enabled");
}

bool hasDialoutForwards(const ConfigManager &store) {
    const auto roles = store.getInterfaces();
    return std::any_of(roles.begin(), roles.end(), [&](const std::string &role) {
        return store.getBoolean("config.firewall." + role + ".forwards.dialout");
    });
}

bool hasPortSpeeds(const ConfigManager &store) {
    return anyNumber(store.getSerialPortCount(), [&](const std::string &number) {
        return !store.getElement("config.ports.port" + number + ".speed").empty();
    });
}

bool hasStoredUserPasswords(const ConfigManager &store) {
    return anyNumber(store.getSize("config.users.total"), [&](const std::string &number) {
        return store.getElement("config.users.user" + number + ".password") != "x";
    });
}

} // namespace zandorin
