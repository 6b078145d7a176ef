#include "settings/registry.h"

// How the appliance is monitored by a Nagios server.

namespace zandorin::settings {
namespace {

// The numbers of send_nsca.cfg; the server must have the same.
constexpr Choice encryptions[] = {
    {"0", "None"}, {"1", "XOR"}, {"2", "DES"}, {"3", "3DES"}, {"14", "AES-128"}, {"16", "AES-256"},
};

constexpr Field host[] = {
    {.label = "Enable Nagios",
     .key = "config.system.nagios.enabled",
     .type = "boolean",
     .input = Input::check,
     .help = "Report the state of this appliance and its managed devices."},
    {.label = "Nagios Host Name",
     .key = "config.system.nagios.name",
     .type = "alphanum",
     .help = "What this appliance is called on the Nagios server: letters, digits, \"-\", \"_\" "
             "and \".\". Empty: the system name."},
    {.label = "Nagios Host Address",
     .key = "config.system.nagios.address",
     .type = "address",
     .help = "Where the Nagios server finds this appliance. Empty: its network address."},
    {.label = "Nagios Server Address",
     .key = "config.system.nagios.server",
     .type = "address",
     .help = "Address or host name."},
};

constexpr Field nsca[] = {
    {.label = "Enable NSCA",
     .key = "config.system.nagios.nsca.enabled",
     .type = "boolean",
     .input = Input::check,
     .help = "Send check results to the server instead of waiting to be asked."},
    {.label = "NSCA Server Address",
     .key = "config.system.nagios.nsca.server",
     .type = "address",
     .help = "Empty: the Nagios server."},
    {.label = "NSCA Port",
     .key = "config.system.nagios.nsca.port",
     .type = "tcpport",
     .help = "1 to 65535. Empty: 5667.",
     .maxlength = 5},
    {.label = "NSCA Encryption",
     .key = "config.system.nagios.nsca.encryption",
     .input = Input::menu,
     .choices = encryptions,
     .help = "As in the server's decryption_method."},
    {.label = "NSCA Secret",
     .key = "config.system.nagios.nsca.secret",
     .type = "password",
     .input = Input::password,
     .help = "The server's password."},
    {.label = "Confirm NSCA Secret",
     .key = "config.system.nagios.nsca.confirm",
     .input = Input::confirmation,
     .refusal = "NSCA Secret does not match confirmation.",
     .confirms = "config.system.nagios.nsca.secret"},
    {.label = "NSCA Interval",
     .key = "config.system.nagios.nsca.interval",
     .help = "Minutes between two reports. Empty: 5.",
     .maxlength = 9,
     .most = 999999999,
     .refusal = "NSCA Interval must be assigned a <i>number of minutes</i>. The value <i>{}</i> is "
                "invalid."},
};

constexpr Section sections[] = {
    {"Nagios Host", host},
    {"NSCA", nsca},
};

constexpr Page page = {.sections = sections};

const AutoRegisterPage registration("nagios", packed<page>());

} // namespace
} // namespace zandorin::settings
