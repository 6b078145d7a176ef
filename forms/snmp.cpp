#include "framework/formlet.h"
#include "ui/settings_page.h"
#include "ui/template_functions.h"

#include <array>

// The agent that answers to network management, and where traps are sent.

namespace zandorin {
namespace {

constexpr ui::Choice security_levels[] = {
    {"noauth", "No authentication"},
    {"auth", "Authentication"},
    {"priv", "Authentication and privacy"},
};

constexpr ui::Choice versions[] = {
    {"", "No traps"},
    {"1", "SNMPv1"},
    {"2c", "SNMPv2c"},
    {"3", "SNMPv3"},
};

// The words of snmpd.conf(5).
constexpr ui::Choice auth_protocols[] = {{"SHA", "SHA"}, {"MD5", "MD5"}};
constexpr ui::Choice privacy_protocols[] = {{"AES", "AES"}, {"DES", "DES"}};

constexpr const char *engine_id_help =
    "SNMPv3: 10 to 64 hexadecimal digits, an even number of them, \"0x\" before them or not. "
    "Empty: the appliance makes one itself, which is shown above.";
constexpr const char *password_help = "SNMPv3: at least 8 characters.";

constexpr ui::Setting system[] = {
    {.label = "Location",
     .key = "config.services.snmp.syslocation",
     .type = "unsafe_printable",
     .input = ui::Input::unsafeText,
     .help = "Where the appliance stands, as the agent reports it (sysLocation)."},
    {.label = "Contact",
     .key = "config.services.snmp.syscontact",
     .type = "printable",
     .help = "Who is in charge of the appliance, as the agent reports it (sysContact)."},
};

constexpr ui::Setting communities[] = {
    {.label = "Read Only Community",
     .key = "config.services.snmp.rocommunity",
     .type = "unsafe_printable",
     .input = ui::Input::unsafeSecret,
     .help = "Who knows it may read everything by SNMPv1 and SNMPv2c. None: nobody may."},
    {.label = "Read Write Community",
     .key = "config.services.snmp.rwcommunity",
     .type = "unsafe_printable",
     .input = ui::Input::unsafeSecret,
     .help = "Who knows it may change settings, too."},
};

constexpr ui::Setting agent_v3[] = {
    {.label = "Engine ID",
     .key = "config.services.snmp.engineid",
     .type = "asciigraphical",
     .help = engine_id_help,
     .markup =
         [](Engine &engine) {
             return ui::getSnmpEngineIdLabel(engine, {"config.services.snmp.engineid"});
         }},
    {.label = "Read Only Security Level",
     .key = "config.services.snmp.roseclevel",
     .input = ui::Input::menu,
     .choices = security_levels,
     .help = "What SNMPv3 asks of the read only user."},
    {.label = "Read Only Username",
     .key = "config.services.snmp.rousername",
     .type = "snmpusername",
     .help = "Letters, digits, \"-\" and \"_\"."},
    {.label = "Auth. Protocol",
     .key = "config.services.snmp.roauthprotocol",
     .input = ui::Input::menu,
     .choices = auth_protocols},
    {.label = "Auth. Password",
     .key = "config.services.snmp.roauthpassword",
     .type = "password",
     .input = ui::Input::password,
     .help = password_help},
    {.label = "Confirm Auth. Password",
     .key = "config.services.snmp.roauthconfirm",
     .input = ui::Input::confirmation,
     .confirms = "config.services.snmp.roauthpassword"},
    {.label = "Privacy Protocol",
     .key = "config.services.snmp.roprivprotocol",
     .input = ui::Input::menu,
     .choices = privacy_protocols},
    {.label = "Privacy Password",
     .key = "config.services.snmp.roprivpassword",
     .type = "password",
     .input = ui::Input::password,
     .help = password_help},
    {.label = "Confirm Privacy Password",
     .key = "config.services.snmp.roprivconfirm",
     .input = ui::Input::confirmation,
     .confirms = "config.services.snmp.roprivpassword"},
};

/// The keys of one trap manager.
struct ManagerKeys {
    const char *address;
    const char *port;
    const char *version;
    const char *community;
    const char *engineId;
    std::string (*engineIdLabel)(Engine &engine);
    const char *username;
    const char *authProtocol;
    const char *authPassword;
    const char *authConfirm;
    const char *privProtocol;
    const char *privPassword;
    const char *privConfirm;
};

using Manager = std::array<ui::Setting, 12>;

constexpr Manager manager(const ManagerKeys &keys) {
    using ui::Input;
    return {{
        {.label = "Manager Address",
         .key = keys.address,
         .type = "address",
         .help = "Address or host name that traps are sent to."},
        {.label = "Manager Trap Port",
         .key = keys.port,
         .type = "port",
         .help = "UDP, 1 to 65534. Empty: 162.",
         .maxlength = 5},
        {.label = "Version",
         .key = keys.version,
         .input = Input::menu,
         .choices = versions,
         .help = "SNMPv1 and SNMPv2c need a community, SNMPv3 a security name."},
        {.label = "Community",
         .key = keys.community,
         .type = "unsafe_printable",
         .input = Input::unsafeSecret},
        {.label = "Manager Engine ID",
         .key = keys.engineId,
         .type = "asciigraphical",
         .help = engine_id_help,
         .markup = keys.engineIdLabel},
        {.label = "Security Name",
         .key = keys.username,
         .type = "snmpusername",
         .help = "SNMPv3: the user that traps are sent as; letters, digits, \"-\" and \"_\"."},
        {.label = "Manager Auth. Protocol",
         .key = keys.authProtocol,
         .input = Input::menu,
         .choices = auth_protocols},
        {.label = "Manager Auth. Password",
         .key = keys.authPassword,
         .type = "password",
         .input = Input::password,
         .help = password_help},
        {.label = "Confirm Manager Auth. Password",
         .key = keys.authConfirm,
         .input = Input::confirmation,
         .confirms = keys.authPassword},
        {.label = "Manager Privacy Protocol",
         .key = keys.privProtocol,
         .input = Input::menu,
         .choices = privacy_protocols},
        {.label = "Manager Privacy Password",
         .key = keys.privPassword,
         .type = "password",
         .input = Input::password,
         .help = password_help},
        {.label = "Confirm Manager Privacy Password",
         .key = keys.privConfirm,
         .input = Input::confirmation,
         .confirms = keys.privPassword},
    }};
}

constexpr Manager primary = manager({
    "config.system.snmp.address",
    "config.system.snmp.port",
    "config.system.snmp.version",
    "config.system.snmp.community",
    "config.system.snmp.engineid",
    [](Engine &engine) {
        return ui::getSnmpEngineIdLabel(engine, {"config.system.snmp.engineid"});
    },
    "config.system.snmp.username",
    "config.system.snmp.authprotocol",
    "config.system.snmp.authpassword",
    "config.system.snmp.authconfirm",
    "config.system.snmp.privprotocol",
    "config.system.snmp.privpassword",
    "config.system.snmp.privconfirm",
});

constexpr Manager secondary = manager({
    "config.system.snmp.address2",
    "config.system.snmp.port2",
    "config.system.snmp.version2",
    "config.system.snmp.community2",
    "config.system.snmp.engineid2",
    [](Engine &engine) {
        return ui::getSnmpEngineIdLabel(engine, {"config.system.snmp.engineid2"});
    },
    "config.system.snmp.username2",
    "config.system.snmp.authprotocol2",
    "config.system.snmp.authpassword2",
    "config.system.snmp.authconfirm2",
    "config.system.snmp.privprotocol2",
    "config.system.snmp.privpassword2",
    "config.system.snmp.privconfirm2",
});

constexpr ui::Section sections[] = {
    {"SNMP Agent", system},
    {"SNMPv1 and SNMPv2c", communities},
    {"SNMPv3", agent_v3},
    {"Primary Trap Manager", primary},
    {"Secondary Trap Manager", secondary},
};

const AutoRegisterFormlet registration("snmp", ui::defineSettings<sections>,
                                       ui::renderSettings<sections>);

} // namespace
} // namespace zandorin
