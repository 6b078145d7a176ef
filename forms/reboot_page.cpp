#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "ui/page.h"
#include "util/log.h"

// Restarting the appliance, back in its factory state or with FIPS mode changed where that was
// asked for. The configurator of the same name does it.

namespace zandorin {
namespace {

constexpr const char *reboot_key = "config.system.reboot";
constexpr const char *settings_url = "?form=systemsettings";

void queueReboot(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr || !cgi->varStringExists(reboot_key))
        return;
    ConfigManager &config = engine.config();
    for (const char *key : {"config.system.erase", "config.system.fips"})
        config.setElement(key, cgi->varStringExists(key));
    engine.addConfigurator("ssl");
    config.setElement(reboot_key, true);
}

void render(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    const std::string page = ui::link(settings_url, "System Administration Page");
    const std::string here = ui::link(settings_url, "here");
    if (!cgi->varStringExists(reboot_key)) {
        *cgi << "<p>To safely reboot the system you must enable the appropriate checkbox on the "
             << page << " before continuing.  Click " << here << " to return there now.</p>";
        return;
    }
    *cgi << (engine.config().getBoolean("config.delayed")
                 ? "<p>A delayed reboot has been queued. <b>Commiting the changes will restart the "
                   "device.</b> </p>"
                 : "<p>The device is rebooting, restarting the system will take a moment. Please "
                   "note that <b>the system will not respond to connections during this "
                   "process</b>.</p>")
         << "<p>To return to the " << page << " click " << here << ".</p>";
}

const AutoRegisterFormlet registration("reboot", queueReboot, render);

} // namespace
} // namespace zandorin
