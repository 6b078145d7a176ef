#include "settings/devices.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "settings/records.h"
#include "types/predicates.h"

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

/// The digital pins of the models that have any: "dio1" and so on, inputs first.
struct Pins {
    std::string_view model;
    unsigned inputs;
    unsigned all;
};
constexpr Pins models[] = {{"HX9004", 1, 2}, {"HX9008", 2, 4}, {"HX9016", 2, 4}};

std::vector<Option> pins(const ConfigManager &config, bool areInputs) {
    std::vector<Option> options;
    const std::string model = config.getElement("config.system.model");
    for (const Pins &pins : models)
        if (pins.model == model)
            for (unsigned pin = areInputs ? 1 : pins.inputs + 1;
                 pin <= (areInputs ? pins.inputs : pins.all); ++pin)
                options.emplace_back("dio" + std::to_string(pin), "DIO " + std::to_string(pin));
    return options;
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

std::vector<Option> interfaceOptions(const ConfigManager &config, const std::string & /*place*/) {
    std::vector<Option> options;
    for (const std::string &role : config.getInterfaces())
        if (isValidNIC(role) && role != "any")
            options.emplace_back(role);
    options.emplace_back("any", "Any");
    return options;
}

std::vector<Option> connectionOptions(const ConfigManager &config, const std::string & /*place*/) {
    std::vector<Option> options;
    for (const std::string &role : config.getInterfaces())
        options.emplace_back("config.interfaces." + role, role);
    return options;
}

std::vector<Option> upsOptions(const ConfigManager &config, const std::string & /*place*/) {
    return portsWith(config, "ups");
}

std::vector<Option> sensorOptions(const ConfigManager &config, const std::string & /*place*/) {
    std::vector<Option> options;
    for (const Option &port : portsWith(config, "enviro")) {
        options.emplace_back(port.value + ".enviro.temp", port.label + ": temperature");
        options.emplace_back(port.value + ".enviro.humid", port.label + ": humidity");
    }
    return options;
}

std::vector<Option> inputPins(const ConfigManager &config, const std::string & /*place*/) {
    return pins(config, true);
}

std::vector<Option> outputPins(const ConfigManager &config, const std::string & /*place*/) {
    return pins(config, false);
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
