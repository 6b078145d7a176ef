#include "settings/registry.h"

// The mail server that alerts are sent through.

namespace zandorin::settings {
namespace {

constexpr Choice securities[] = {
    {"", "None"},
    {"starttls", "STARTTLS"},
    {"tls", "TLS from the start"},
};

constexpr Field server[] = {
    {.label = "SMTP Server",
     .key = "config.system.smtp.server",
     .type = "address",
     .help = "Address or host name of the outgoing mail server."},
    {.label = "SMTP Port",
     .key = "config.system.smtp.port",
     .type = "tcpport",
     .help = "1 to 65535. Empty: 25, with STARTTLS 587, with TLS from the start 465.",
     .maxlength = 5},
    {.label = "Secure Connection",
     .key = "config.system.smtp.security",
     .input = Input::menu,
     .choices = securities,
     .help = "How the connection to the server is encrypted."},
};

constexpr Field mail[] = {
    {.label = "Sender Address",
     .key = "config.system.smtp.sender",
     .type = "email",
     .help = "What mails say they come from, such as console@example.com."},
    {.label = "Subject Line",
     .key = "config.system.smtp.subject",
     .type = "printable",
     .help = "Of mails whose alert has no subject of its own."},
};

constexpr Field login[] = {
    {.label = "SMTP Username",
     .key = "config.system.smtp.username",
     .type = "printable",
     .help = "Empty when the server takes mails without a login."},
    {.label = "SMTP Password",
     .key = "config.system.smtp.password",
     .type = "password",
     .input = Input::password},
    {.label = "Confirm SMTP Password",
     .key = "config.system.smtp.confirm",
     .input = Input::confirmation,
     .refusal = "Password does not match confirmation.",
     .confirms = "config.system.smtp.password"},
};

constexpr Section sections[] = {
    {"Mail Server", server},
    {"Mails", mail},
    {"Server Login", login},
};

constexpr Page page = {.sections = sections};

const AutoRegisterPage registration("smtp", packed<page>());

} // namespace
} // namespace zandorin::settings
