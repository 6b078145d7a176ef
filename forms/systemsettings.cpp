#include "settings/fields.h"
#include "settings/registry.h"

// Name, password and message of the day. What restarts the appliance is in systemsettings_page.cpp.

namespace zandorin::settings {
namespace {

constexpr Field identity[] = {
    {.label = "System Name",
     .key = "config.system.name",
     .type = "hostname",
     .help = "The host name: letters, digits, \"-\" and \".\"; shown in every page's title.",
     .maxlength = 64,
     .standard = "zandorin",
     .note = "Host name of the appliance, in every page's title. When empty, the host's own name "
             "is shown."},
    {.label = "System Description",
     .key = "config.system.description",
     .type = "printable",
     .help = "Where the appliance stands and what it is for."},
};

constexpr Field access[] = {
    {.label = "System Password",
     .key = "config.system.password",
     .type = "password",
     .input = Input::password,
     .help = "Of the user root.",
     .note = "Password of the user root, as a crypt hash. Anything that does not begin with \"$\" "
             "counts as clear text: then it is stored as typed, and only root may log in."},
    confirmationField("Confirm System Password", "config.system.confirm", "config.system.password",
                      "Password does not match confirmation."),
};

constexpr Field message[] = {
    {.label = "Message of the Day",
     .key = "config.system.motd",
     .input = Input::unsafeTextArea,
     .help = "Shown to everyone who logs in at a terminal.",
     .maxlength = 16383,
     .file = "/etc/config/motd"},
};

constexpr Field commits[] = {
    {.label = "Delayed Config Commits",
     .key = "config.delayed",
     .type = "boolean",
     .input = Input::check,
     .help = "Collect changes and put them into effect together, by <b>Commit Changes</b> in the "
             "top bar.",
     .note = "Changes are collected and put into effect together by the page `commit`."},
};

constexpr Section sections[] = {
    {"Identity", identity},
    {"Access", access},
    {"Message", message},
    {"Configuration", commits},
};

constexpr Page page = {.sections = sections};

const AutoRegisterPage registration("systemsettings", packed<page>());

} // namespace
} // namespace zandorin::settings
