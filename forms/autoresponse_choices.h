#pragma once

#include "settings/page.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

// What the menus of auto-responses offer, and the shapes of their fields. The choices' values are
// what the service reads; changing one breaks stored configurations.

namespace zandorin::autoresponse {

using settings::Choice;
using settings::Field;
using settings::Input;
using settings::OptionsOf;

inline constexpr Choice none[] = {{"", "- Select -"}}; ///< before the choices of this appliance

inline constexpr Choice comparisons[] = {
    {"", "- Select -"},
    {"above", "Above the trigger value"},
    {"below", "Below the trigger value"},
};
inline constexpr Choice ups_conditions[] = {
    {"", "- Select -"},
    {"on_battery", "Running on battery"},
    {"low_battery", "Battery is low"},
    {"online", "Mains power is back"},
    {"overload", "Overloaded"},
    {"replace_battery", "Battery has failed"},
    {"unreachable", "UPS does not answer"},
};
inline constexpr Choice signals[] = {
    {"", "- Select -"},
    {"CTS", "CTS (Clear To Send)"},
    {"DCD", "DCD (Data Carrier Detect)"},
    {"DSR", "DSR (Data Set Ready)"},
    {"RI", "RI (Ring Indicator)"},
};
/// Of a serial signal and of a digital input or output.
inline constexpr Choice levels[] = {
    {"", "- Select -"},
    {"1", "On (asserted, high)"},
    {"0", "Off (deasserted, low)"},
};
inline constexpr Choice connection_actions[] = {
    {"", "- Select -"},
    {"up", "Bring up"},
    {"down", "Take down"},
    {"restart", "Restart"},
};
inline constexpr Choice outlet_actions[] = {
    {"", "- Select -"},
    {"on", "Turn on"},
    {"off", "Turn off"},
    {"cycle", "Turn off and on again"},
};
/// Exit statuses of monitoring plug-ins.
inline constexpr Choice return_codes[] = {
    {"", "- Select -"},    {"0", "0 (OK)"},      {"1", "1 (WARNING)"},
    {"2", "2 (CRITICAL)"}, {"3", "3 (UNKNOWN)"},
};

using Options = std::vector<settings::Option>;
Options interfaces(const ConfigManager &config, const std::string &place);  ///< roles, and "any"
Options connections(const ConfigManager &config, const std::string &place); ///< by their keys
Options upses(const ConfigManager &config, const std::string &place);       ///< ports with a UPS
Options sensors(const ConfigManager &config, const std::string &place); ///< of ports with a monitor
Options inputPins(const ConfigManager &config, const std::string &place);
Options outputPins(const ConfigManager &config, const std::string &place);
/// SMS need a modem.
bool hasCellularModem(const ConfigManager &config);

constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();

constexpr Field text(const char *key, const char *label, TypeName type, const char *help = "",
                     int maxlength = 0) {
    return {.label = label, .key = key, .type = type, .help = help, .maxlength = maxlength};
}
constexpr Field number(const char *key, const char *label, const char *help = "",
                       std::int32_t most = largest, int digits = 10) {
    return {.label = label,
            .key = key,
            .type = "numeric",
            .help = help,
            .maxlength = digits,
            .most = most};
}
constexpr Field whole(const char *key, const char *label, const char *help) {
    return {.label = label,
            .key = key,
            .type = "integer",
            .help = help,
            .least = -largest,
            .most = largest};
}
constexpr Field box(const char *key, const char *label, const char *help = "") {
    return {.label = label, .key = key, .type = "boolean", .input = Input::check, .help = help};
}
constexpr Field menu(const char *key, const char *label, std::span<const Choice> choices,
                     const char *help = "", OptionsOf options = nullptr) {
    return {.label = label,
            .key = key,
            .type = "printable",
            .input = Input::menu,
            .choices = choices,
            .options = options,
            .help = help};
}
constexpr Field menu(const char *key, const char *label, OptionsOf options, const char *help = "") {
    return menu(key, label, none, help, options);
}
inline constexpr Field arguments = {
    .label = "Arguments",
    .key = ".custom.args",
    .type = "unsafe_printable",
    .input = Input::texts,
    .help = "Handed to the script in this order. Each save adds one.",
    .word = "arg",
    .posted = ".custom.argument",
};

} // namespace zandorin::autoresponse
