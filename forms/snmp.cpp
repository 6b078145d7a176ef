#include "platform/libzandorin/snmp_engine_id.h"
#include "settings/fields.h"
#include "settings/registry.h"

#include <string_view>

// The agent that answers to network management, and where traps are sent.

namespace zandorin::settings {
namespace {

constexpr Choice levels[] = {{"noauth", "No authentication"},
                             {"auth", "Authentication"},
                             {"priv", "Authentication and privacy"}};
constexpr Choice versions[] = {
    {"", "No traps"}, {"1", "SNMPv1"}, {"2c", "SNMPv2c"}, {"3", "SNMPv3"}};
// The words of snmpd.conf(5).
constexpr Choice auth_protocols[] = {{"SHA", "SHA"}, {"MD5", "MD5"}};
constexpr Choice privacy_protocols[] = {{"AES", "AES"}, {"DES", "DES"}};

constexpr const char *auth_mismatch = "Auth. Password does not match confirmation.";
constexpr const char *auth_short = "Auth. Password needs to be at least 8 characters.";
constexpr const char *privacy_mismatch = "Privacy Password does not match confirmation.";
constexpr const char *privacy_short = "Privacy Password needs to be at least 8 characters.";

/// Whole bytes in hexadecimal, 5 to 32 of them (RFC 3411, SnmpEngineID), with an optional "0x".
bool isEngineId(const std::string &value) {
    const std::string_view digits = std::string_view(value).substr(value.starts_with("0x") ? 2 : 0);
    return digits.size() >= 10 && digits.size() <= 64 && digits.size() % 2 == 0 &&
           digits.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

constexpr Field password(const char *label, const char *key, const char *tooShort) {
    Field field = passwordField(label, key, "SNMPv3: at least 8 characters.");
    field.least = 8; // characters: RFC 3414, 11.2
    field.refusal = tooShort;
    return field;
}
constexpr Field text(const char *label, const char *key, TypeName type, const char *help,
                     Input input = Input::text) {
    return {.label = label, .key = key, .type = type, .input = input, .help = help};
}
constexpr Field community(const char *label, const char *key, const char *help) {
    return text(label, key, "unsafe_printable", help, Input::unsafeSecret);
}
constexpr Field engineId(const char *label, const char *key, const char *refusal) {
    return {.label = label,
            .key = key,
            .type = "asciigraphical",
            .help = "SNMPv3: 10 to 64 hexadecimal digits, an even number of them, \"0x\" before "
                    "them or not. Empty: the appliance makes one itself, which is shown above.",
            .accepts = isEngineId,
            .refusal = refusal,
            .standard = "made by the appliance",
            .status = snmpEngineId};
}

constexpr Field system[] = {
    text("Location", "config.services.snmp.syslocation", "unsafe_printable",
         "Where the appliance stands, as the agent reports it (sysLocation).", Input::unsafeText),
    text("Contact", "config.services.snmp.syscontact", "printable",
         "Who is in charge of the appliance, as the agent reports it (sysContact)."),
};
constexpr Field communities[] = {
    community("Read Only Community", "config.services.snmp.rocommunity",
              "Who knows it may read everything by SNMPv1 and SNMPv2c. None: nobody may."),
    community("Read Write Community", "config.services.snmp.rwcommunity",
              "Who knows it may change settings, too."),
};

constexpr When authenticated = {"config.services.snmp.roseclevel", "auth priv"};
constexpr Field agent_v3[] = {
    engineId("Engine ID", "config.services.snmp.engineid",
             "SNMPv3 Engine ID must be a hex number."),
    menuField("Read Only Security Level", "config.services.snmp.roseclevel", levels,
              "What SNMPv3 asks of the read only user."),
    needed(text("Read Only Username", "config.services.snmp.rousername", "snmpusername",
                "Letters, digits, \"-\" and \"_\"."),
           authenticated, "The Read Only Username is required for any Security Level but 'noauth'"),
    menuField("Auth. Protocol", "config.services.snmp.roauthprotocol", auth_protocols),
    needed(password("Auth. Password", "config.services.snmp.roauthpassword", auth_short),
           authenticated, "The Auth. Password is required for any Security Level but 'noauth'"),
    confirmationField("Confirm Auth. Password", "config.services.snmp.roauthconfirm",
                      "config.services.snmp.roauthpassword", auth_mismatch),
    menuField("Privacy Protocol", "config.services.snmp.roprivprotocol", privacy_protocols),
    needed(password("Privacy Password", "config.services.snmp.roprivpassword", privacy_short),
           {"config.services.snmp.roseclevel", "priv"},
           "The Privacy Password is required for Security Level 'priv'"),
    confirmationField("Confirm Privacy Password", "config.services.snmp.roprivconfirm",
                      "config.services.snmp.roprivpassword", privacy_mismatch),
};

// The keys of the second manager end with "2".
constexpr Field manager[] = {
    text("Manager Address", "config.system.snmp.address", "address",
         "Address or host name that traps are sent to."),
    portField("Manager Trap Port", "config.system.snmp.port", "port",
              "UDP, 1 to 65534. Empty: 162.", "162"),
    menuField("Version", "config.system.snmp.version", versions,
              "SNMPv1 and SNMPv2c need a community, SNMPv3 a security name."),
    needed(community("Community", "config.system.snmp.community", ""),
           {"config.system.snmp.version", "1 2c"}, "SNMPv{} traps require a Community."),
    engineId("Manager Engine ID", "config.system.snmp.engineid",
             "SNMPv3 Engine ID must be a hex number or left unspecified."),
    needed(text("Security Name", "config.system.snmp.username", "snmpusername",
                "SNMPv3: the user that traps are sent as; letters, digits, \"-\" and \"_\"."),
           {"config.system.snmp.version", "3"}, "SNMPv3 traps require a Security Name."),
    menuField("Manager Auth. Protocol", "config.system.snmp.authprotocol", auth_protocols),
    password("Manager Auth. Password", "config.system.snmp.authpassword", auth_short),
    confirmationField("Confirm Manager Auth. Password", "config.system.snmp.authconfirm",
                      "config.system.snmp.authpassword", auth_mismatch),
    menuField("Manager Privacy Protocol", "config.system.snmp.privprotocol", privacy_protocols),
    password("Manager Privacy Password", "config.system.snmp.privpassword", privacy_short),
    confirmationField("Confirm Manager Privacy Password", "config.system.snmp.privconfirm",
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
