#include "settings/devices.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "settings/records.h"

#include <algorithm>

namespace zandorin::settings {

namespace {

constexpr unsigned most_outlets = 64;
constexpr unsigned usual_outlets = 8; ///< of a power strip that does not say

RecordList strips() {
    return {"config.power", "device"};
}

std::string orElse(const std::string &label, const char *word, unsigned number) {
    return label.empty() ? word + std::to_string(number) : label;
}

Option outletOption(const ConfigManager &config, const std::string &key, unsigned number,
                    const std::string &device) {
    return {key, orElse(config.getElement(key + ".label"), "Outlet ", number), device};
}

} // namespace

std::vector<Option> portOptions(const ConfigManager &config, const std::string & /*place*/) {
    std::vector<Option> options;
    for (unsigned number = 1; number <= portCount(config); ++number) {
        options.emplace_back(portReference(number), portLabel(config, number));
        options.back().box = std::to_string(number);
    }
    return options;
}

std::vector<Option> portsWith(const ConfigManager &config, std::string_view kind) {
    std::vector<Option> options = portOptions(config);
    std::erase_if(options, [&](const Option &port) {
        return config.getElement(port.value + ".device.type") != kind;
    });
    return options;
}

std::vector<Option> outletOptions(const ConfigManager &config, const std::string & /*place*/) {
    std::vector<Option> options;
    for (const Option &port : portsWith(config, "rpc")) {
        const unsigned stored = config.getSize(port.value + ".power.outlets.total");
        const unsigned count = stored == 0 ? usual_outlets : std::min(stored, most_outlets);
        for (unsigned number = 1; number <= count; ++number)
            options.push_back(outletOption(
                config, port.value + ".power.outlet" + std::to_string(number), number, port.label));
    }
    for (const unsigned strip : strips().numbers(config)) {
        const RecordList outlets(strips().keyOf(strip), outlet_word);
        const std::string label =
            orElse(config.getElement(outlets.key() + ".label"), "Power Strip ", strip);
        for (const unsigned number : outlets.numbers(config))
            options.push_back(outletOption(config, outlets.keyOf(number), number, label));
    }
    return options;
}

void moveOutlets(ConfigManager &config) {
    const RecordList old("config.power.outlets", outlet_word);
    const std::vector<unsigned> numbers = old.numbers(config);
    if (numbers.empty())
        return;
    const RecordList moved(strips().keyOf(strips().next(config)), outlet_word);
    const RecordList users("config.users", "user");
    for (std::size_t at = 0; at < numbers.size(); ++at)
        config.setElement(
            moved.keyOf(static_cast<unsigned>(at + 1)) + ".label",
            orElse(config.getElement(old.keyOf(numbers[at]) + ".label"), "Outlet ", numbers[at]));
    moved.settle(config);
    strips().settle(config);
    for (const unsigned user : users.numbers(config)) {
        const std::string granted = users.keyOf(user) + granted_outlets;
        std::vector<std::string> keys = readTextList(config, granted, outlet_word);
        for (std::size_t at = 0; at < numbers.size(); ++at) {
            const std::string flag =
                users.keyOf(user) + ".power.outlet" + std::to_string(numbers[at]);
            if (config.getBoolean(flag))
                keys.push_back(moved.keyOf(static_cast<unsigned>(at + 1)));
            config.delElement(flag);
        }
        writeTextList(config, granted, outlet_word, keys);
    }
    config.delElement(old.key());
}

} // namespace zandorin::settings
