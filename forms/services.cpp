#include "settings/fields.h"
#include "settings/problems.h"
#include "settings/registry.h"
#include "settings/values.h"
#include "types/predicates.h"

// The network services of the appliance, and what protects their logins from guessing.

namespace zandorin::settings {
namespace {

constexpr Field web[] = {
    {.label = "Enable HTTP",
     .key = "config.services.http.enabled",
     .type = "boolean",
     .input = Input::check,
     .help = "The management console without encryption. While HTTPS is on as well, it only leads "
             "there. With both off, only the appliance itself reaches the console.",
     .standard = "on"},
    portField("HTTP Port", "config.services.http.port", "tcpport", "1 to 65535. Empty: 80.", "80"),
    {.label = "Enable HTTPS",
     .key = "config.services.https.enabled",
     .type = "boolean",
     .input = Input::check,
     .help = "The management console with encryption. Needs an SSL certificate and its private key "
             "installed on the appliance; the first start makes them.",
     .note = "The console with encryption; needs `/etc/config/ssl_cert.pem` and "
             "`/etc/config/ssl_key.pem`."},
    portField("HTTPS Port", "config.services.https.port", "tcpport", "1 to 65535. Empty: 443.",
              "443"),
    {.label = "Host Names",
     .key = "config.services.http.hostnames",
     .type = "addresslist",
     .help = "Further names under which browsers reach the console, separated by commas. Its "
             "addresses, the system name and localhost are always served, no others are."},
};

constexpr Field terminal[] = {
    {.label = "Enable SSH",
     .key = "config.services.ssh.enabled",
     .type = "boolean",
     .input = Input::check,
     .help = "Command line access with encryption.",
     .standard = "on"},
    portField("SSH Port", "config.services.ssh.port", "tcpport", "1 to 65535. Empty: 22.", "22"),
    boxField("Enable Telnet", "config.services.telnet.enabled",
             "Command line access <b>without</b> encryption: passwords can be read on the way."),
    portField("Telnet Port", "config.services.telnet.port", "tcpport", "1 to 65535. Empty: 23.",
              "23"),
};

constexpr Field snmp[] = {
    boxField("Enable SNMP", "config.services.snmp.enabled",
             "The agent that answers to network management; the page <b>SNMP</b> has its "
             "settings."),
    portField("SNMP Port", "config.services.snmp.port", "port", "UDP, 1 to 65534. Empty: 161.",
              "161"),
};

constexpr Field protection[] = {
    boxField("Enable Brute Force Protection", "config.bfprotection.enabled",
             "Refuse web logins from addresses, and under names, for which they keep failing. "
             "Other ways to log in stay open."),
    {.label = "Failed Login Limit",
     .key = "config.bfprotection.limit",
     .help = "Failed logins in a row, at least 1, after which an address is shut out. Empty: 3.",
     .maxlength = 9,
     .least = 1,
     .refusal =
         "The Failed Login Limit value must greater than 0. Clear the field to revert to the "
         "default value.",
     .standard = "3"},
    {.label = "Lockout Time",
     .key = "config.bfprotection.timeout",
     .help = "Minutes, at least 1, that it stays shut out after the last of them. Empty: 60.",
     .maxlength = 9,
     .least = 1,
     .refusal = "The Lockout Time value must greater than 0. Clear the field to revert to the "
                "default value.",
     .standard = "60"},
    {.label = "Trusted Networks",
     .key = "config.bfprotection.networks",
     .type = "subnetlist",
     .help = "Such as 192.168.0.0/24, separated by commas. What fails from elsewhere under a name "
             "does not keep these from using it.",
     .note = "Networks from which a name may log in however often it failed from elsewhere; each "
             "of their addresses keeps its own limit."},
};

constexpr Section sections[] = {
    {"Web Access", web},
    {"Command Line Access", terminal},
    {"Network Management", snmp},
    {"Brute Force Protection", protection},
};

/// The files that the web server reads.
void requireCertificate(const Values &values, Problems &problems) {
    constexpr const char *key = "config.services.https.enabled";
    if (values.isGiven(key))
        problems.require(isValidUnixFilePath("/etc/config/ssl_cert.pem") &&
                             isValidUnixFilePath("/etc/config/ssl_key.pem"),
                         key,
                         "An SSL Local certificate '/etc/config/ssl_cert.pem' and an SSL Private "
                         "key '/etc/config/ssl_key.pem' must be installed before enabling HTTPS.");
}

constexpr Page page = {.sections = sections, .rule = requireCertificate};

const AutoRegisterPage registration("services", packed<page>());

} // namespace
} // namespace zandorin::settings
