#include "platform/libzandorin/serial_ports.h"
#include "settings/fields.h"
#include "settings/registry.h"

// PPP over a modem at one of the serial ports: calls from outside, calling back, calling out.

namespace zandorin::settings {
namespace {

std::vector<Option> ports(const ConfigManager &config, const std::string &) {
    std::vector<Option> options = {{"console", "Console"}};
    for (unsigned number = 1; number <= portCount(config); ++number)
        options.emplace_back("port" + std::to_string(number), portLabel(config, number));
    return options;
}

constexpr Choice protocols[] = {
    {"mschapv2", "MS-CHAP v2"},
    {"chap", "CHAP"},
    {"pap", "PAP (password in clear)"},
    {"none", "None"},
};

constexpr Field dialin[] = {
    boxField("Enable Dial-In", ".ppp.enabled", "Answer calls with PPP."),
    {.label = "Local Address",
     .key = ".ppp.localip",
     .type = "ip",
     .help = "The IP address at which a caller finds this appliance.",
     .required = {".ppp.enabled"},
     .missing = "Dial-In configuration requires a <i>Local Address</i>"},
    {.label = "Remote Address",
     .key = ".ppp.remoteip",
     .type = "ip",
     .help = "The IP address that a caller gets.",
     .required = {".ppp.enabled"},
     .missing = "Dial-In configuration requires a <i>Remote Address</i>"},
    menuField("Authentication Type", ".ppp.auth", protocols, "How a caller proves who it is."),
    {.label = "Dial-In Username",
     .key = ".ppp.username",
     .type = "username",
     .help = "Empty: every user of the group dialin may call.",
     .note = "The caller's name. Empty: every user of the group dialin may call."},
    {.label = "Dial-In Password",
     .key = ".ppp.password",
     .type = "password",
     .input = Input::password,
     .note = "The caller's password."},
    confirmationField("Confirm Dial-In Password", ".ppp.confirm", ".ppp.password",
                      "Dial-In password does not match confirmation."),
    {.label = "Modem Initialization",
     .key = ".ppp.initstring",
     .type = "unsafe_printable",
     .input = Input::unsafeText,
     .help = "Sent to the modem before it is used, such as AT&amp;C1&amp;D2."},
};

constexpr Field callback[] = {
    boxField("Enable Dial-Back", ".ppp.callback.enabled", "Hang up on a caller and call back."),
    {.label = "Dial-Back Phone Number",
     .key = ".ppp.callback.phone1",
     .type = "phonenumber",
     .help = "At least three digits without blanks between them, such as +61730001000.",
     .required = {".ppp.callback.enabled"},
     .missing = "Dial-Back requires a Phone Number.",
     .note = "Number that is called back."},
    {.label = "Second Dial-Back Phone Number",
     .key = ".ppp.callback.phone2",
     .type = "phonenumber",
     .help = "Tried when the first does not answer."},
};

constexpr Field dialer[] = {
    boxField("Enable Dial-Out", ".ppp.dialer.enabled", "Let the appliance call a provider itself."),
    {.label = "Dial-Out Phone Number",
     .key = ".ppp.dialer.phone1",
     .type = "phonenumber",
     .note = "Number that is called."},
    {.label = "Dial-Out Username",
     .key = ".ppp.dialer.username",
     .type = "printable",
     .note = "Login at the provider."},
    {.label = "Dial-Out Password",
     .key = ".ppp.dialer.password",
     .type = "password",
     .input = Input::password,
     .note = "Password at the provider."},
    confirmationField("Confirm Dial-Out Password", ".ppp.dialer.confirm", ".ppp.dialer.password",
                      "Dial-out password does not match confirmation."),
};

constexpr Section sections[] = {
    {"Dial-In", dialin},
    {"Dial-Back", callback},
    {"Dial-Out", dialer},
};

constexpr Page page = {
    .sections = sections,
    .chooser = {.variable = "port",
                .label = "Serial Port",
                .help = "Every port with a modem has settings of its own. Apply before you change "
                        "to another.",
                .prefix = "config.",
                .options = ports,
                .unknown = "No such port: "},
};

const AutoRegisterPage registration("dialin", packed<page>());

} // namespace
} // namespace zandorin::settings
