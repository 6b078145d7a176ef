#include "framework/formlet.h"
#include "ui/settings_page.h"

// How the appliance is monitored by a Nagios server.

namespace zandorin {
namespace {

// The numbers of send_nsca.cfg; the server must have the same.
constexpr ui::Choice encryptions[] = {
    {"0", "None"}, {"1", "XOR"}, {"2", "DES"}, {"3", "3DES"}, {"14", "AES-128"}, {"16", "AES-256"},
};

constexpr ui::Setting host[] = {
    {.label = "Enable Nagios",
     .key = "config.system.nagios.enabled",
     .type = "boolean",
     .input = ui::Input::check,
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

constexpr ui::Setting nsca[] = {
    {.label = "Enable NSCA",
     .key = "config.system.nagios.nsca.enabled",
     .type = "boolean",
     .input = ui::Input::check,
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
     .input = ui::Input::menu,
     .choices = encryptions,
     .help = "As in the server's decryption_method."},
    {.label = "NSCA Secret",
     .key = "config.system.nagios.nsca.secret",
     .type = "password",
     .input = ui::Input::password,
     .help = "The server's password."},
    {.label = "Confirm NSCA Secret",
     .key = "config.system.nagios.nsca.confirm",
     .input = ui::Input::confirmation,
     .confirms = "config.system.nagios.nsca.secret"},
    {.label = "NSCA Interval",
     .key = "config.system.nagios.nsca.interval",
     .help = "Minutes between two reports. Empty: 5.",
     .maxlength = 9},
};

constexpr ui::Section sections[] = {
    {"Nagios Host", host},
    {"NSCA", nsca},
};

const AutoRegisterFormlet registration("nagios", ui::defineSettings<sections>,
                                       ui::renderSettings<sections>);

} // namespace
} // namespace zandorin
