#include "platform/libzandorin/config_manager.h"
#include "settings/fields.h"
#include "settings/registry.h"

// Who may log in is decided here or by a server: which, and how sessions last.

namespace zandorin::settings {
namespace {

constexpr Choice types[] = {
    {"Local", "Local"},
    {"LocalTACACS", "Local, then TACACS+"},
    {"TACACS", "TACACS+"},
    {"TACACSLocal", "TACACS+, then Local"},
    {"TACACSDownLocal", "TACACS+, Local when no server answers"},
    {"LocalRADIUS", "Local, then RADIUS"},
    {"RADIUS", "RADIUS"},
    {"RADIUSLocal", "RADIUS, then Local"},
    {"RADIUSDownLocal", "RADIUS, Local when no server answers"},
    {"LocalLDAP", "Local, then LDAP"},
    {"LDAP", "LDAP"},
    {"LDAPLocal", "LDAP, then Local"},
    {"LDAPDownLocal", "LDAP, Local when no server answers"},
};

constexpr When needs_tacacs = {"config.auth.type",
                               "LocalTACACS TACACS TACACSLocal TACACSDownLocal"};
constexpr When needs_radius = {"config.auth.type",
                               "LocalRADIUS RADIUS RADIUSLocal RADIUSDownLocal"};
constexpr When needs_ldap = {"config.auth.type", "LocalLDAP LDAP LDAPLocal LDAPDownLocal"};

constexpr const char *servers_help =
    "Addresses or host names, separated by commas without blanks; they are asked in this order.";
constexpr const char *accounting_help =
    "Where logins and logouts are reported to. Empty: to the servers above.";

constexpr Field method[] = {
    {.label = "Authentication Method",
     .key = "config.auth.type",
     .input = Input::menu,
     .choices = types,
     .help = "Where names and passwords are checked. <b>Local</b> means the users of this "
             "appliance. A method that ends with it lets them in while the servers cannot be "
             "reached.",
     .note = "Where names and passwords are checked: `Local<server>` asks the appliance's own "
             "users first, `<server>` the servers alone, `<server>Local` the own users last, "
             "`<server>DownLocal` the own users only when no server answers."},
};

constexpr Field sessions[] = {
    {.label = "Session Lifetime",
     .key = "config.auth.sessionlifetime",
     .help = "Minutes, 10 to 1440, after which an idle web session ends. Empty: 20.",
     .maxlength = 8,
     .least = 10,
     .most = 1440,
     .refusal = "Session lifetime must be between 10 and 1440 minutes",
     .standard = "20"},
    boxField("Fixed Session Lifetime", "config.auth.autorefresh.disabled",
             "End a session when its lifetime is over even while it is in use."),
    {.label = "Long Session Identifiers",
     .key = "config.auth.extendedsessionids",
     .type = "boolean",
     .input = Input::check,
     .help = "Identify sessions by 32 instead of 16 hexadecimal digits.",
     .standard = "on",
     .note = "Session ids of 32 instead of 16 hexadecimal digits. The factory sets it; without the "
             "key they have 16."},
};

constexpr Choice hashes[] = {
    {"md5", "MD5"},
    {"sha512", "SHA-512"},
    {"yescrypt", "yescrypt"},
};

constexpr Field passwords[] = {
    {.label = "Password Hash",
     .key = "config.auth.passwordhash",
     .input = Input::menu,
     .choices = hashes,
     .help = "How new passwords of users are stored; those that are stored stay as they are. A "
             "stolen account file yields MD5 hashes quickly. <b>yescrypt</b> is the strongest, and "
             "takes 16 MB of memory at each login; root's password is never stored as MD5.",
     .note = "How new passwords are hashed (crypt(5)). Root's is SHA-512 or, where that is chosen, "
             "yescrypt."},
};

constexpr Field tacacs[] = {
    {.label = "TACACS+ Servers",
     .key = "config.auth.tacacs.auth_server",
     .type = "addresslist",
     .help = servers_help,
     .required = needs_tacacs,
     .missing = "TACACS+ Authentication and Authorization Server Address must be specified",
     .note = "TACACS+ servers for authentication and authorization, in the order in which they are "
             "asked."},
    {.label = "TACACS+ Accounting Servers",
     .key = "config.auth.tacacs.acct_server",
     .type = "addresslist",
     .help = accounting_help,
     .standard = "the servers above",
     .note = "TACACS+ servers for accounting."},
    needed(passwordField("TACACS+ Password", "config.auth.tacacs.password",
                         "The secret that the servers share with this appliance."),
           needs_tacacs, "TACACS+ Server Password must be specified"),
    confirmationField("Confirm TACACS+ Password", "config.auth.tacacs.confirm",
                      "config.auth.tacacs.password",
                      "TACACS Password does not match confirmation."),
};

constexpr Field radius[] = {
    {.label = "RADIUS Servers",
     .key = "config.auth.radius.auth_server",
     .type = "addresslist",
     .help = servers_help,
     .required = needs_radius,
     .missing = "RADIUS Authentication and Authorization Server Address must be specified",
     .note = "RADIUS servers for authentication and authorization, in the order in which they are "
             "asked."},
    {.label = "RADIUS Accounting Servers",
     .key = "config.auth.radius.acct_server",
     .type = "addresslist",
     .help = accounting_help,
     .standard = "the servers above",
     .note = "RADIUS servers for accounting."},
    needed(passwordField("RADIUS Password", "config.auth.radius.password",
                         "The secret that the servers share with this appliance."),
           needs_radius, "RADIUS Server Password must be specified"),
    confirmationField("Confirm RADIUS Password", "config.auth.radius.confirm",
                      "config.auth.radius.password",
                      "RADIUS Password does not match confirmation."),
};

constexpr Field ldap[] = {
    {.label = "LDAP Server",
     .key = "config.auth.ldap.server",
     .type = "address",
     .help = "Address or host name.",
     .required = needs_ldap,
     .missing = "LDAP Server Address must be specified"},
    {.label = "LDAP Base DN",
     .key = "config.auth.ldap.basedn",
     .type = "distinguishedname",
     .help = "Where users are searched for, such as dc=example,dc=com."},
    {.label = "LDAP Bind DN",
     .key = "config.auth.ldap.binddn",
     .type = "distinguishedname",
     .help = "The entry that searches, such as cn=console,dc=example,dc=com."},
    {.label = "LDAP Bind Password",
     .key = "config.auth.ldap.password",
     .type = "password",
     .input = Input::password,
     .required = needs_ldap,
     .missing = "LDAP Server Password must be specified",
     .note = "Password of the entry that searches."},
    confirmationField("Confirm LDAP Bind Password", "config.auth.ldap.confirm",
                      "config.auth.ldap.password", "LDAP Password does not match confirmation."),
};

constexpr Field pmshell[] = {
    {.label = "Port Login Prompt",
     .key = "config.auth.pmshell.enabled",
     .type = "boolean",
     .input = Input::check,
     .help = "Enables extra login prompt for users connecting to serial consoles.",
     .note = "An extra login prompt for users who connect to serial ports; only offered with "
             "`config.auth.pmshell.available`."},
};

bool isPmshellAvailable(const ConfigManager &config) {
    return config.getBoolean("config.auth.pmshell.available");
}

constexpr Section sections[] = {
    {"Authentication", method},
    {"Web Sessions", sessions},
    {"Passwords", passwords},
    {"TACACS+", tacacs},
    {"RADIUS", radius},
    {"LDAP", ldap},
    {"Additional Port Authentication", pmshell, isPmshellAvailable},
};

constexpr Page page = {.sections = sections};

const AutoRegisterPage registration("auth", packed<page>());

} // namespace
} // namespace zandorin::settings
