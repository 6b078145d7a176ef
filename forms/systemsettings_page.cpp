#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "ui/form.h"
#include "ui/settings_page.h"
#include "ui/table.h"
#include "ui/template_functions.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"

// The message of the day, which is a file and no value of the configuration, and the ways to
// restart the appliance.

namespace zandorin {
namespace {

constexpr const char *motd_path = "/etc/config/motd";
constexpr const char *motd_field = "config.system.motd";
constexpr std::size_t motd_buffer = 16384;

bool removeMotd() {
    logRecord(Priority::info, "Removing the message of the day");
    return removeFile(appliancePath(motd_path));
}

/// Writes or removes the message once the whole form is accepted. A new text wins over the box.
void validateMotd(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi &cgi = *engine.cgi();
    const std::string text = cgi.getVarString(motd_field, motd_buffer).raw;
    const bool remove =
        text.empty() && !cgi.getVarString(std::string(motd_field) + ".delete").raw.empty();
    if (text.empty() && !remove)
        return;
    constexpr mode_t readable = 0644;
    if (!(remove ? removeMotd() : replaceFile(appliancePath(motd_path), text, readable))) {
        cgi.addError(std::string("Failed to open file: ") + motd_path);
        return;
    }
    cgi.addMessage(remove ? "The message of the day was removed."
                          : "The message of the day was changed.");
    if (engine.config().hasConfigurator(engine.formId()))
        engine.config().schedule(engine.formId());
}

void define(Engine &engine) {
    ui::defineSettings(engine);
    if (engine.requireCgi() != nullptr)
        engine.onAccepted([&engine] { validateMotd(engine); });
}

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
    ui::renderSettings(engine);
    if (Cgi *cgi = engine.requireCgi())
        renderRestart(engine, *cgi);
}

const AutoRegisterFormlet registration("systemsettings", define, render);

} // namespace
} // namespace zandorin
