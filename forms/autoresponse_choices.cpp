#include "forms/autoresponse_choices.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "settings/page.h"
#include "types/predicates.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace zandorin::autoresponse {

namespace {

constexpr settings::Choice comparisons[] = {
    {"above", "Above the trigger value"},
    {"below", "Below the trigger value"},
};

constexpr settings::Choice ups_conditions[] = {
    {"on_battery", "Running on battery"},      {"low_battery", "Battery is low"},
    {"online", "Mains power is back"},         {"overload", "Overloaded"},
    {"replace_battery", "Battery has failed"}, {"unreachable", "UPS does not answer"},
};

constexpr settings::Choice signals[] = {
    {"CTS", "CTS (Clear To Send)"},
    {"DCD", "DCD (Data Carrier Detect)"},
    {"DSR", "DSR (Data Set Ready)"},
    {"RI", "RI (Ring Indicator)"},
};

constexpr settings::Choice levels[] = {
    {"1", "On (asserted, high)"},
    {"0", "Off (deasserted, low)"},
};

constexpr settings::Choice connection_actions[] = {
    {"up", "Bring up"},
    {"down", "Take down"},
    {"restart", "Restart"},
};

constexpr settings::Choice outlet_actions[] = {
    {"on", "Turn on"},
    {"off", "Turn off"},
    {"cycle", "Turn off and on again"},
};

constexpr settings::Choice return_codes[] = {
    {"0", "0 (OK)"},
    {"1", "1 (WARNING)"},
    {"2", "2 (CRITICAL)"},
    {"3", "3 (UNKNOWN)"},
};

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

std::vector<ui::Option> fixedChoices(std::span<const settings::Choice> choices) {
    std::vector<ui::Option> options;
    for (const settings::Choice &choice : choices)
        options.emplace_back(choice.value, choice.label);
    return options;
}

} // namespace

std::vector<ui::Option> optionsOf(const ConfigManager &config, Menu menu) {
    switch (menu) {
    case Menu::comparisons:
        return fixedChoices(comparisons);
    case Menu::upsConditions:
        return fixedChoices(ups_conditions);
    case Menu::signals:
        return fixedChoices(signals);
    case Menu::levels:
        return fixedChoices(levels);
    case Menu::connectionActions:
        return fixedChoices(connection_actions);
    case Menu::outletActions:
        return fixedChoices(outlet_actions);
    case Menu::returnCodes:
        return fixedChoices(return_codes);
    case Menu::interfaces:
        return interfaceChoices(config);
    case Menu::connections:
        return connectionChoices(config);
    case Menu::upses:
        return upsChoices(config);
    case Menu::sensors:
        return sensorChoices(config);
    case Menu::outlets:
        return outletChoices(config);
    case Menu::inputPins:
        return pinChoices(config, Direction::input);
    case Menu::outputPins:
        return pinChoices(config, Direction::output);
    case Menu::none:
        break;
    }
    return {};
}

} // namespace zandorin::autoresponse
