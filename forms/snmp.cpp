#include "platform/libzandorin/snmp_engine_id.h"
#include "settings/registry.h"

#include <string_view>

// The agent that answers to network management, and where traps are sent.

namespace zandorin::settings {
namespace {

constexpr Choice security_levels[] = {
    {"noauth", "No authentication"},
    {"auth", "Authentication"},
    {"priv", "Authentication and privacy"},
};
constexpr Choice versions[] = {
    {"", "No traps"}, {"1", "SNMPv1"}, {"2c", "SNMPv2c"}, {"3", "SNMPv3"}};
// The words of snmpd.conf(5).
constexpr Choice auth_protocols[] = {{"SHA", "SHA"}, {"MD5", "MD5"}};
constexpr Choice privacy_protocols[] = {{"AES", "AES"}, {"DES", "DES"}};

constexpr int least_password = 8; // characters: RFC 3414, 11.2
constexpr const char *password_help = "SNMPv3: at least 8 characters.";
constexpr const char *auth_mismatch = "Auth. Password does not match confirmation.";
constexpr const char *auth_short = "Auth. Password needs to be at least 8 characters.";
constexpr const char *privacy_mismatch = "Privacy Password does not match confirmation.";
constexpr const char *privacy_short = "Privacy Password needs to be at least 8 characters.";
constexpr const char *engine_id_help =
    "SNMPv3: 10 to 64 hexadecimal digits, an even number of them, \"0x\" before them or not. "
    "Empty: the appliance makes one itself, which is shown above.";

/// Whole bytes in hexadecimal, 5 to 32 of them (RFC 3411, SnmpEngineID), with an optional "0x".
bool isEngineId(const std::string &value) {
    constexpr std::size_t least_digits = 10;
    constexpr std::size_t most_digits = 64;
    std::string_view text = value;
    if (text.starts_with("0x"))
        text.remove_prefix(2);
    return text.size() >= least_digits && text.size() <= most_digits && text.size() % 2 == 0 &&
           text.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

constexpr Field password(const char *label, const char *key, const char *tooShort,
                         When required = {}, const char *missing = "") {
    return {.label = label,
            .key = key,
            .type = "password",
            .input = Input::password,
            .help = password_help,
            .least = least_password,
            .refusal = tooShort,
            .required = required,
            .missing = missing};
}
constexpr Field confirmation(const char *label, const char *key, const char *ofKey,
                             const char *mismatch) {
    return {.label = label,
            .key = key,
            .input = Input::confirmation,
            .refusal = mismatch,
            .confirms = ofKey};
}
constexpr Field protocol(const char *label, const char *key, std::span<const Choice> choices) {
    return {.label = label, .key = key, .input = Input::menu, .choices = choices};
}
constexpr Field community(const char *label, const char *key, const char *help, When required = {},
                          const char *missing = "") {
    return {.label = label,
            .key = key,
            .type = "unsafe_printable",
            .input = Input::unsafeSecret,
            .help = help,
            .required = required,
            .missing = missing};
}
constexpr Field engineId(const char *label, const char *key, const char *refusal) {
    return {.label = label,
            .key = key,
            .type = "asciigraphical",
            .help = engine_id_help,
            .accepts = isEngineId,
            .refusal = refusal,
            .status = snmpEngineId};
}

constexpr Field system[] = {
    {.label = "Location",
     .key = "config.services.snmp.syslocation",
     .type = "unsafe_printable",
     .input = Input::unsafeText,
     .help = "Where the appliance stands, as the agent reports it (sysLocation)."},
    {.label = "Contact",
     .key = "config.services.snmp.syscontact",
     .type = "printable",
     .help = "Who is in charge of the appliance, as the agent reports it (sysContact)."},
};

constexpr Field communities[] = {
    community("Read Only Community", "config.services.snmp.rocommunity",
              "Who knows it may read everything by SNMPv1 and SNMPv2c. None: nobody may."),
    community("Read Write Community", "config.services.snmp.rwcommunity",
              "Who knows it may change settings, too."),
};

constexpr const char *level = "config.services.snmp.roseclevel";
constexpr Field agent_v3[] = {
    engineId("Engine ID", "config.services.snmp.engineid",
             "SNMPv3 Engine ID must be a hex number."),
    {.label = "Read Only Security Level",
     .key = level,
     .input = Input::menu,
     .choices = security_levels,
     .help = "What SNMPv3 asks of the read only user."},
    {.label = "Read Only Username",
     .key = "config.services.snmp.rousername",
     .type = "snmpusername",
     .help = "Letters, digits, \"-\" and \"_\".",
     .required = {level, "auth priv"},
     .missing = "The Read Only Username is required for any Security Level but 'noauth'"},
    protocol("Auth. Protocol", "config.services.snmp.roauthprotocol", auth_protocols),
    password("Auth. Password", "config.services.snmp.roauthpassword", auth_short,
             {level, "auth priv"},
             "The Auth. Password is required for any Security Level but 'noauth'"),
    confirmation("Confirm Auth. Password", "config.services.snmp.roauthconfirm",
                 "config.services.snmp.roauthpassword", auth_mismatch),
    protocol("Privacy Protocol", "config.services.snmp.roprivprotocol", privacy_protocols),
    password("Privacy Password", "config.services.snmp.roprivpassword", privacy_short,
             {level, "priv"}, "The Privacy Password is required for Security Level 'priv'"),
    confirmation("Confirm Privacy Password", "config.services.snmp.roprivconfirm",
                 "config.services.snmp.roprivpassword", privacy_mismatch),
};

// The keys of the second manager end with "2".
constexpr const char *version = "config.system.snmp.version";
constexpr Field manager[] = {
    {.label = "Manager Address",
     .key = "config.system.snmp.address",
     .type = "address",
     .help = "Address or host name that traps are sent to."},
    {.label = "Manager Trap Port",
     .key = "config.system.snmp.port",
     .type = "port",
     .help = "UDP, 1 to 65534. Empty: 162.",
     .maxlength = 5},
    {.label = "Version",
     .key = version,
     .input = Input::menu,
     .choices = versions,
     .help = "SNMPv1 and SNMPv2c need a community, SNMPv3 a security name."},
    community("Community", "config.system.snmp.community", "", {version, "1 2c"},
              "SNMPv{} traps require a Community."),
    engineId("Manager Engine ID", "config.system.snmp.engineid",
             "SNMPv3 Engine ID must be a hex number or left unspecified."),
    {.label = "Security Name",
     .key = "config.system.snmp.username",
     .type = "snmpusername",
     .help = "SNMPv3: the user that traps are sent as; letters, digits, \"-\" and \"_\".",
     .required = {version, "3"},
     .missing = "SNMPv3 traps require a Security Name."},
    protocol("Manager Auth. Protocol", "config.system.snmp.authprotocol", auth_protocols),
    password("Manager Auth. Password", "config.system.snmp.authpassword", auth_short),
    confirmation("Confirm Manager Auth. Password", "config.system.snmp.authconfirm",
                 "config.system.snmp.authpassword", auth_mismatch),
    protocol("Manager Privacy Protocol", "config.system.snmp.privprotocol", privacy_protocols),
    password("Manager Privacy Password", "config.system.snmp.privpassword", privacy_short),
    confirmation("Confirm Manager Privacy Password", "config.system.snmp.privconfirm",
                 "config.system.snmp.privpassword", privacy_mismatch),
};

constexpr Section sections[] = {
    {.title = "SNMP Agent", .fields = system},
    {.title = "SNMPv1 and SNMPv2c", .fields = communities},
    {.title = "SNMPv3", .fields = agent_v3},
    {.title = "Primary Trap Manager", .fields = manager},
    {.title = "Secondary Trap Manager", .fields = manager, .suffix = "2"},
};

constexpr Page page = {.sections = sections};

const AutoRegisterPage registration("snmp", packed<page>());

} // namespace
} // namespace zandorin::settings
