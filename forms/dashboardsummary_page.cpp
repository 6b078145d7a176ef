#include "cgi/cgi.h"
#include "cgi/session_file.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "ui/table.h"
#include "ui/template_functions.h"

// What an administrator wants to see first: which appliance this is and how it is set up.

namespace zandorin {
namespace {

void renderSummary(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    const ConfigManager &config = engine.config();
    ui::Table table(*cgi);
    table.open();
    table.titleRow("Appliance");
    table.inputRow("System name", ui::getSystemName(engine));
    table.inputRow("Model", ui::getModel(engine));
    table.inputRow("Firmware", ui::getFirmwareVersion(engine));
    table.inputRow("Uptime", ui::getUptime(engine));
    table.labelledTextRow("Serial ports", std::to_string(config.getSerialPortCount()));

    table.spacerRow();
    table.titleRow("Network interfaces");
    for (const std::string &role : config.getInterfaces()) {
        const std::string key = "config.interfaces." + role;
        const std::string mode = config.getElement(key + ".mode");
        const std::string address = config.getElement(key + ".address");
        std::string text = mode.empty() ? "not configured" : mode;
        if (!address.empty())
            text += ", " + address;
        table.labelledTextRow(role, text);
    }
    table.close();

    // Of a panel the second callback writes it.
    if (const Widget *ports = WidgetRegistry::find("ports"); ports != nullptr && ports->second)
        ports->second(engine);
}

const AutoRegisterFormlet registration("dashboardsummary", nullptr, renderSummary);

} // namespace
} // namespace zandorin
