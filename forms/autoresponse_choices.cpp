#include "forms/autoresponse_choices.h"

#include "forms/serial_ports.h"
#include "framework/predicates.h"
#include "platform/libzandorin/config_manager.h"

#include <algorithm>
#include <string_view>

namespace zandorin::autoresponse {

namespace {

constexpr unsigned most_outlets = 64;
constexpr unsigned usual_outlets = 8; ///< of a power strip that does not say

enum class Direction { input, output };

/// The digital pins of the models that have any.
struct Pin {
    std::string_view model;
    const char *name;
    const char *label;
    Direction direction;
};
constexpr Pin pins[] = {
    {"HX9004", "dio1", "DIO 1", Direction::input},  {"HX9004", "dio2", "DIO 2", Direction::output},
    {"HX9008", "dio1", "DIO 1", Direction::input},  {"HX9008", "dio2", "DIO 2", Direction::input},
    {"HX9008", "dio3", "DIO 3", Direction::output}, {"HX9008", "dio4", "DIO 4", Direction::output},
    {"HX9016", "dio1", "DIO 1", Direction::input},  {"HX9016", "dio2", "DIO 2", Direction::input},
    {"HX9016", "dio3", "DIO 3", Direction::output}, {"HX9016", "dio4", "DIO 4", Direction::output},
};

std::vector<ui::Option> pinChoices(const ConfigManager &config, Direction direction) {
    std::vector<ui::Option> choices;
    const std::string model = config.getElement("config.system.model");
    for (const Pin &pin : pins)
        if (pin.model == model && pin.direction == direction)
            choices.emplace_back(pin.name, pin.label);
    return choices;
}

/// Calls `use(number, reference, label)` for each port with a device of that kind.
template <typename Use>
void forDevices(const ConfigManager &config, std::string_view kind, Use use) {
    for (unsigned number = 1; number <= portCount(config); ++number) {
        const std::string port = portReference(number);
        if (config.getElement(port + ".device.type") == kind)
            use(port, portLabel(config, number));
    }
}

} // namespace

std::vector<ui::Option> interfaceChoices(const ConfigManager &config) {
    std::vector<ui::Option> choices;
    for (const std::string &role : config.getInterfaces())
        if (isValidNIC(role) && role != "any")
            choices.emplace_back(role);
    choices.emplace_back("any", "Any");
    return choices;
}

std::vector<ui::Option> connectionChoices(const ConfigManager &config) {
    std::vector<ui::Option> choices;
    for (const std::string &role : config.getInterfaces())
        choices.emplace_back("config.interfaces." + role, role);
    return choices;
}

std::vector<ui::Option> upsChoices(const ConfigManager &config) {
    std::vector<ui::Option> choices;
    forDevices(config, "ups", [&](const std::string &port, const std::string &label) {
        choices.emplace_back(port, label);
    });
    return choices;
}

std::vector<ui::Option> sensorChoices(const ConfigManager &config) {
    std::vector<ui::Option> choices;
    forDevices(config, "enviro", [&](const std::string &port, const std::string &label) {
        choices.emplace_back(port + ".enviro.temp", label + ": temperature");
        choices.emplace_back(port + ".enviro.humid", label + ": humidity");
    });
    return choices;
}

std::vector<ui::Option> outletChoices(const ConfigManager &config) {
    std::vector<ui::Option> choices;
    forDevices(config, "rpc", [&](const std::string &port, const std::string &label) {
        const unsigned told = config.getSize(port + ".power.outlets.total");
        const unsigned count = told == 0 ? usual_outlets : std::min(told, most_outlets);
        for (unsigned outlet = 1; outlet <= count; ++outlet)
            choices.emplace_back(port + ".power.outlet" + std::to_string(outlet),
                                 "Outlet " + std::to_string(outlet), label);
    });
    return choices;
}

std::vector<ui::Option> inputPinChoices(const ConfigManager &config) {
    return pinChoices(config, Direction::input);
}

std::vector<ui::Option> outputPinChoices(const ConfigManager &config) {
    return pinChoices(config, Direction::output);
}

} // namespace zandorin::autoresponse
