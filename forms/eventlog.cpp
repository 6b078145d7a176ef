#include "settings/fields.h"
#include "settings/registry.h"

// Which events are logged, and where the log is kept besides.

namespace zandorin::settings {
namespace {

constexpr Choice servers[] = {
    {"", "None"},
    {"syslog", "Remote Syslog"},
    {"nfs", "NFS share"},
    {"cifs", "Windows share (CIFS)"},
};

// The words of syslog.conf(5).
constexpr Choice facilities[] = {
    {"daemon", "Daemon"},  {"local0", "Local 0"}, {"local1", "Local 1"},
    {"local2", "Local 2"}, {"local3", "Local 3"}, {"local4", "Local 4"},
    {"local5", "Local 5"}, {"local6", "Local 6"}, {"local7", "Local 7"},
};

constexpr Choice levels[] = {
    {"info", "Information and above"}, {"notice", "Notices and above"},
    {"warning", "Warnings and above"}, {"err", "Errors and above"},
    {"crit", "Critical events only"},  {"debug", "Everything, debugging included"},
};

constexpr Field events[] = {
    {.label = "Log Level",
     .key = "config.eventlog.level",
     .input = Input::menu,
     .choices = levels,
     .help = "How grave an event must be to be logged.",
     .note = "How grave an event must be to be logged."},
    menuField("Syslog Facility", "config.eventlog.facility", facilities,
              "The facility under which events are sent to a syslog server."),
};

constexpr Field server[] = {
    menuField("Server Type", "config.eventlog.server.type", servers,
              "Where a copy of the log is kept outside of the appliance."),
    {.label = "Server Address",
     .key = "config.eventlog.server.address",
     .type = "address",
     .help = "Address or host name."},
    portField("Server Port", "config.eventlog.server.port", "port",
              "Of a syslog server, 1 to 65534. Empty: 514.", "514"),
    {.label = "Server Path",
     .key = "config.eventlog.server.path",
     .type = "printable",
     .help = "Of a share: its name or exported folder, such as /logs."},
    {.label = "Username",
     .key = "config.eventlog.server.username",
     .type = "unsafe_printable",
     .input = Input::unsafeText,
     .help = "Of a Windows share, such as LOGS\\console."},
    passwordField("Password", "config.eventlog.server.password", "Of a Windows share."),
    confirmationField("Confirm Password", "config.eventlog.server.confirm",
                      "config.eventlog.server.password", "Password does not match confirmation."),
};

constexpr Section sections[] = {
    {"Events", events},
    {"Remote Log", server},
};

constexpr Page page = {.sections = sections};

const AutoRegisterPage registration("eventlog", packed<page>());

} // namespace
} // namespace zandorin::settings
