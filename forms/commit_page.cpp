#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "ui/form.h"
#include "ui/inputs.h"
#include "ui/page.h"
#include "util/escape.h"
#include "util/log.h"

// Delayed configuration: what is queued, and the two buttons that commit or drop it.

namespace zandorin {
namespace {

constexpr const char *apply_field = "apply";
constexpr const char *cancel_field = "cancel";
constexpr const char *failed = "Failed to save configuration changes.";

void commitOrDiscard(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr || !engine.config().getDelayedConfigMode())
        return;
    if (cgi->varStringExists(apply_field)) {
        // Afterwards nothing distinguishes the committed values from those before.
        const std::vector<ConfigChange> changes = engine.config().getChanges();
        if (engine.config().doDelayedCommit())
            engine.endSessionsAfter(changes);
        else
            cgi->addError(failed);
    } else if (cgi->varStringExists(cancel_field)) {
        *cgi << ui::getInfo("Discarding delayed configuration") << "\n";
        if (!engine.config().discardDelayedCommit())
            cgi->addError(failed);
    }
}

void showQueue(Cgi &cgi, const ConfigManager &config) {
    const std::vector<std::string> names = config.getConfigurators();
    const bool reboots = config.getBoolean("config.system.reboot");
    if (names.empty()) {
        cgi << ui::getInfo("There are currently no pending configuration changes");
    } else {
        // The closing tag that does not match is part of the text.
        cgi << "<p>The following configurators will be run on config commit:</b></p>\n<p>";
        for (const std::string &name : names)
            cgi << encodeSafe(name) << "<br>\n";
        cgi << "</p>";
    }
    if (reboots)
        cgi << "<p>Please note that <b>the device will reboot</b> "
               "in the process of this config commit.</p>";
    if (names.empty() && !reboots)
        return;
    cgi << "<p>";
    ui::Form form(cgi, "commit");
    form.openForm("POST", "commit");
    cgi << ui::getApplyButton(apply_field, "Apply") << ui::getApplyButton(cancel_field, "Cancel");
    form.closeForm();
    cgi << "</p>";
}

void render(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    if (!engine.config().getDelayedConfigMode())
        *cgi << ui::getInfo("There are no pending configuration changes") << "\n";
    else if (!cgi->varStringExists(apply_field) && !cgi->varStringExists(cancel_field))
        showQueue(*cgi, engine.config());
}

const AutoRegisterFormlet registration("commit", commitOrDiscard, render);

} // namespace
} // namespace zandorin
