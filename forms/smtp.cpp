#include "settings/fields.h"
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
    portField("SMTP Port", "config.system.smtp.port", "tcpport",
              "1 to 65535. Empty: 25, with STARTTLS 587, with TLS from the start 465.",
              "25, 587 or 465"),
    menuField("Secure Connection", "config.system.smtp.security", securities,
              "How the connection to the server is encrypted. Without encryption only logins that "
              "hide the password are tried."),
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
     .help = "Empty when the server takes mails without a login.",
     .note = "Login at the mail server. Empty when it takes mails without one."},
    passwordField("SMTP Password", "config.system.smtp.password"),
    confirmationField("Confirm SMTP Password", "config.system.smtp.confirm",
                      "config.system.smtp.password", "Password does not match confirmation."),
};

constexpr Section sections[] = {
    {"Mail Server", server},
    {"Mails", mail},
    {"Server Login", login},
};

constexpr Field recipient[] = {
    {.label = "Recipient",
     .key = "config.try.to",
     .type = "email",
     .help = "Who gets the test mail."},
};
constexpr Attempt attempts[] = {{.service = "smtp",
                                 .name = "mail",
                                 .title = "Test Mail",
                                 .button = "Send a Test Mail",
                                 .fields = recipient}};

constexpr Page page = {.sections = sections, .attempts = attempts, .services = "smtp"};

const AutoRegisterPage registration("smtp", packed<page>());

} // namespace
} // namespace zandorin::settings
