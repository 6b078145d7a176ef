#pragma once

#include "settings/devices.h"
#include "settings/fields.h"

// What the menus of auto-responses offer. The choices' values are what the service reads; changing
// one breaks stored configurations.

namespace zandorin::autoresponse {

using namespace settings; // the words of a table

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
