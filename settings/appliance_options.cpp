#include "settings/appliance_options.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "settings/records.h"

namespace zandorin::settings {

std::vector<Option> portOptions(const ConfigManager &config, const std::string & /*place*/) {
    std::vector<Option> options;
    for (unsigned number = 1; number <= portCount(config); ++number)
        options.emplace_back(std::to_string(number), portLabel(config, number));
    return options;
}

std::vector<Option> outletOptions(const ConfigManager &config, const std::string & /*place*/) {
    const RecordList records("config.power.outlets", "outlet");
    std::vector<Option> options;
    for (const unsigned number : records.numbers(config)) {
        const std::string label = config.getElement(records.keyOf(number) + ".label");
        const std::string text = std::to_string(number);
        options.emplace_back(text, label.empty() ? "Outlet " + text : label);
    }
    return options;
}

} // namespace zandorin::settings
