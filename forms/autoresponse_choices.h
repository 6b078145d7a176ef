#pragma once

#include "ui/inputs.h"
#include "ui/settings_page.h"

#include <string>
#include <vector>

namespace zandorin {
class ConfigManager;
}

// The choices of auto-response menus: values as they are stored, and words for them. Values are
// what the service reads; changing one breaks stored configurations.

namespace zandorin::autoresponse {

inline constexpr ui::Choice comparisons[] = {
    {"above", "Above the trigger value"},
    {"below", "Below the trigger value"},
};

inline constexpr ui::Choice ups_conditions[] = {
    {"on_battery", "Running on battery"},      {"low_battery", "Battery is low"},
    {"online", "Mains power is back"},         {"overload", "Overloaded"},
    {"replace_battery", "Battery has failed"}, {"unreachable", "UPS does not answer"},
};

inline constexpr ui::Choice signals[] = {
    {"CTS", "CTS (Clear To Send)"},
    {"DCD", "DCD (Data Carrier Detect)"},
    {"DSR", "DSR (Data Set Ready)"},
    {"RI", "RI (Ring Indicator)"},
};

/// Of a serial signal and of a digital input or output.
inline constexpr ui::Choice levels[] = {
    {"1", "On (asserted, high)"},
    {"0", "Off (deasserted, low)"},
};

inline constexpr ui::Choice connection_actions[] = {
    {"up", "Bring up"},
    {"down", "Take down"},
    {"restart", "Restart"},
};

inline constexpr ui::Choice outlet_actions[] = {
    {"on", "Turn on"},
    {"off", "Turn off"},
    {"cycle", "Turn off and on again"},
};

/// Exit statuses of monitoring plug-ins.
inline constexpr ui::Choice return_codes[] = {
    {"0", "0 (OK)"},
    {"1", "1 (WARNING)"},
    {"2", "2 (CRITICAL)"},
    {"3", "3 (UNKNOWN)"},
};

// Choices that depend on the appliance. Labels are raw.
std::vector<ui::Option> interfaceChoices(const ConfigManager &config); ///< roles, and "any"
std::vector<ui::Option>
connectionChoices(const ConfigManager &config);                     ///< config.interfaces.<role>
std::vector<ui::Option> upsChoices(const ConfigManager &config);    ///< ports with a UPS
std::vector<ui::Option> sensorChoices(const ConfigManager &config); ///< <port>.enviro.temp, .humid
std::vector<ui::Option> outletChoices(const ConfigManager &config); ///< <port>.power.outlet<N>
std::vector<ui::Option> inputPinChoices(const ConfigManager &config);
std::vector<ui::Option> outputPinChoices(const ConfigManager &config);

} // namespace zandorin::autoresponse
