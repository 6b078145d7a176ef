#include "forms/rules.h"
#include "framework/formlet.h"
#include "util/log.h"

#include <string_view>

namespace zandorin {
namespace {

/// Whole bytes in hexadecimal, 5 to 32 of them (RFC 3411, SnmpEngineID), with an optional "0x".
bool isEngineId(std::string_view text) {
    constexpr std::size_t least_digits = 10;
    constexpr std::size_t most_digits = 64;
    if (text.starts_with("0x"))
        text.remove_prefix(2);
    return text.size() >= least_digits && text.size() <= most_digits && text.size() % 2 == 0 &&
           text.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

void checkPassword(Rules &rules, const std::string &name, const std::string &password,
                   const std::string &confirmation) {
    constexpr std::size_t least = 8; // RFC 3414, 11.2
    rules.requireMatch(password, confirmation, name + " does not match confirmation.");
    rules.requireLength(password, least, name + " needs to be at least 8 characters.");
}

/// `slot` ends the names of the manager's fields.
bool validateManagerForm(Engine &engine, const std::string &slot) {
    ZANDORIN_TRACE();
    Rules rules(engine);
    const auto field = [&](const char *name) { return "config.system.snmp." + (name + slot); };
    const std::string engineId = rules.text(field("engineid"));
    rules.require(engineId.empty() || isEngineId(engineId),
                  "SNMPv3 Engine ID must be a hex number or left unspecified.");
    const std::string version = rules.text(field("version"));
    if (version == "3")
        rules.require(rules.isGiven(field("username")), "SNMPv3 traps require a Security Name.");
    if (version == "1" || version == "2c")
        rules.require(rules.isUnsafeGiven(field("community")),
                      "SNMPv" + version + " traps require a Community.");
    checkPassword(rules, "Auth. Password", field("authpassword"), field("authconfirm"));
    checkPassword(rules, "Privacy Password", field("privpassword"), field("privconfirm"));
    return rules.hold();
}

bool validateAgent(Engine &engine) {
    Rules rules(engine);
    const std::string prefix = "config.services.snmp.";
    const std::string engineId = rules.text(prefix + "engineid");
    rules.require(engineId.empty() || isEngineId(engineId),
                  "SNMPv3 Engine ID must be a hex number.");
    const std::string level = rules.text(prefix + "roseclevel");
    if (level == "auth" || level == "priv") {
        rules.require(rules.isGiven(prefix + "rousername"),
                      "The Read Only Username is required for any Security Level but 'noauth'");
        rules.require(rules.isPasswordGiven(prefix + "roauthpassword"),
                      "The Auth. Password is required for any Security Level but 'noauth'");
    }
    if (level == "priv")
        rules.require(rules.isPasswordGiven(prefix + "roprivpassword"),
                      "The Privacy Password is required for Security Level 'priv'");
    checkPassword(rules, "Auth. Password", prefix + "roauthpassword", prefix + "roauthconfirm");
    checkPassword(rules, "Privacy Password", prefix + "roprivpassword", prefix + "roprivconfirm");
    return rules.hold();
}

bool validateSnmpForm(Engine &engine) {
    ZANDORIN_TRACE();
    const bool agent = validateAgent(engine);
    const bool first = validateManagerForm(engine, "");
    const bool second = validateManagerForm(engine, "2");
    return agent && first && second;
}

const AutoRegisterFormValidator registration("snmp", validateSnmpForm);

} // namespace
} // namespace zandorin
