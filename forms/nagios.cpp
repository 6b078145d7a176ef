#include "settings/fields.h"
#include "settings/registry.h"

// How the appliance is monitored by a Nagios server.

namespace zandorin::settings {
namespace {

// The numbers of send_nsca.cfg; the server must have the same.
constexpr Choice encryptions[] = {
    {"0", "None"}, {"1", "XOR"}, {"2", "DES"}, {"3", "3DES"}, {"14", "AES-128"}, {"16", "AES-256"},
};

constexpr Field host[] = {
    boxField("Enable Nagios", "config.system.nagios.enabled",
             "Report the state of this appliance and its managed devices."),
    {.label = "Nagios Host Name",
     .key = "config.system.nagios.name",
     .type = "alphanum",
     .help = "What this appliance is called on the Nagios server: letters, digits, \"-\", \"_\" "
             "and \".\". Empty: the system name.",
     .standard = "the system name"},
    {.label = "Nagios Host Address",
     .key = "config.system.nagios.address",
     .type = "address",
     .help = "Where the Nagios server finds this appliance. Empty: its network address.",
     .standard = "its network address"},
    {.label = "Nagios Server Address",
     .key = "config.system.nagios.server",
     .type = "address",
     .help = "Address or host name."},
};

constexpr Field nsca[] = {
    boxField("Enable NSCA", "config.system.nagios.nsca.enabled",
             "Send check results to the server instead of waiting to be asked."),
    {.label = "NSCA Server Address",
     .key = "config.system.nagios.nsca.server",
     .type = "address",
     .help = "Empty: the Nagios server.",
     .standard = "the Nagios server",
     .note = "NSCA server."},
    portField("NSCA Port", "config.system.nagios.nsca.port", "tcpport", "1 to 65535. Empty: 5667.",
              "5667"),
    {.label = "NSCA Encryption",
     .key = "config.system.nagios.nsca.encryption",
     .input = Input::menu,
     .choices = encryptions,
     .help = "As in the server's decryption_method.",
     .note = "Number of the method as in send_nsca.cfg."},
    passwordField("NSCA Secret", "config.system.nagios.nsca.secret", "The server's password."),
    confirmationField("Confirm NSCA Secret", "config.system.nagios.nsca.confirm",
                      "config.system.nagios.nsca.secret",
                      "NSCA Secret does not match confirmation."),
    {.label = "NSCA Interval",
     .key = "config.system.nagios.nsca.interval",
     .help = "Minutes between two reports. Empty: 5.",
     .maxlength = 9,
     .most = 999999999,
     .refusal = "NSCA Interval must be assigned a <i>number of minutes</i>. The value <i>{}</i> is "
                "invalid.",
     .standard = "5"},
};

constexpr Section sections[] = {
    {"Nagios Host", host},
    {"NSCA", nsca},
};

constexpr Page page = {.sections = sections};

const AutoRegisterPage registration("nagios", packed<page>());

} // namespace
} // namespace zandorin::settings
