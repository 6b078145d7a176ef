#include "forms/rules.h"
#include "framework/formlet.h"
#include "util/log.h"

namespace zandorin {
namespace {

void requireStaticAddress(Rules &rules, const std::string &interface) {
    const std::string address = interface + ".address";
    const std::string netmask = interface + ".netmask";
    if (rules.text(interface + ".mode") == "static")
        rules.require(rules.isGiven(address) && rules.isGiven(netmask),
                      "'" + rules.label(address) + "' and '" + rules.label(netmask) +
                          "' values are required for a statically assigned IP configuration.");
}

bool validateIpconfigForm(Engine &engine) {
    ZANDORIN_TRACE();
    Rules rules(engine);
    requireStaticAddress(rules, "config.interfaces.wan");
    requireStaticAddress(rules, "config.interfaces.lan");
    const std::string first = "config.interfaces.wan.failover.address1";
    const std::string second = "config.interfaces.wan.failover.address2";
    if (rules.isGiven("config.interfaces.wan.failover.interface"))
        rules.require(rules.isGiven(first) || rules.isGiven(second),
                      "'" + rules.label(first) + "' and/or '" + rules.label(second) +
                          "' values are required for failover mode.");
    return rules.hold();
}

const AutoRegisterFormValidator registration("ipconfig", validateIpconfigForm);

} // namespace
} // namespace zandorin
