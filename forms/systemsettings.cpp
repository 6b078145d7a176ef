#include "cgi/cgi.h"
#include "engine/engine.h"
#include "framework/formlet.h"
#include "ui/form.h"
#include "ui/settings_page.h"
#include "ui/table.h"
#include "ui/template_functions.h"
#include "ui/unsafe_inputs.h"
#include "util/files.h"
#include "util/paths.h"

// Name, password, message of the day and the ways to restart the appliance.

namespace zandorin {
namespace {

/// The message stands in a file, not in the configuration; the form's validator writes it.
std::string motdInput(Engine &engine) {
    constexpr std::size_t longest = std::size_t{64} * 1024;
    constexpr int rows = 5;
    constexpr int cols = 60;
    ui::UnsafeInput input{.name = "config.system.motd"};
    input.current = readFile(appliancePath("/etc/config/motd"), longest).value_or("");
    if (Cgi *cgi = engine.cgi(); cgi != nullptr && cgi->hasErrors())
        input.submitted = cgi->getVarString(input.name, 16384).raw;
    return ui::unsafeTextAreaInput(input, rows, cols);
}

constexpr ui::Setting identity[] = {
    {.label = "System Name",
     .key = "config.system.name",
     .type = "hostname",
     .help = "The host name: letters, digits, \"-\" and \".\"; shown in every page's title.",
     .maxlength = 64},
    {.label = "System Description",
     .key = "config.system.description",
     .type = "printable",
     .help = "Where the appliance stands and what it is for."},
};

constexpr ui::Setting access[] = {
    {.label = "System Password",
     .key = "config.system.password",
     .type = "password",
     .input = ui::Input::password,
     .help = "Of the user root."},
    {.label = "Confirm System Password",
     .key = "config.system.confirm",
     .input = ui::Input::confirmation,
     .confirms = "config.system.password"},
};

constexpr ui::Setting message[] = {
    {.label = "Message of the Day",
     .input = ui::Input::custom,
     .help = "Shown to everyone who logs in at a terminal.",
     .markup = motdInput},
};

constexpr ui::Setting commits[] = {
    {.label = "Delayed Config Commits",
     .key = "config.delayed",
     .type = "boolean",
     .input = ui::Input::check,
     .help = "Collect changes and put them into effect together, by <b>Commit Changes</b> in the "
             "top bar."},
};

constexpr ui::Section sections[] = {
    {"Identity", identity},
    {"Access", access},
    {"Message", message},
    {"Configuration", commits},
};

/// A form of its own, which the page "reboot" receives.
void renderRestart(Engine &engine, Cgi &cgi) {
    ui::Form form(cgi, "reboot");
    form.openForm("post", "reboot", "?form=reboot");
    ui::Table table(cgi);
    table.open();
    table.titleRow("Restart");
    table.checkInputRow("Reboot", "config.system.reboot", false, "Restart the appliance.");
    table.checkInputRow("Config Erase", "config.system.erase", false,
                        "Return to the factory configuration while restarting. <b>Every setting "
                        "and account is lost.</b>");
    table.checkInputRow("FIPS Mode", "config.system.fips", !ui::getFipsModeChecked(engine).empty(),
                        "Use only cryptography that FIPS 140 allows from the next start on.");
    table.applyButtonRow("Restart");
    table.close();
    form.closeForm();
}

void render(Engine &engine) {
    ui::renderSettings<sections>(engine);
    if (Cgi *cgi = engine.requireCgi())
        renderRestart(engine, *cgi);
}

const AutoRegisterFormlet registration("systemsettings", ui::defineSettings<sections>, render);

} // namespace
} // namespace zandorin
