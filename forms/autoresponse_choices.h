#pragma once

#include "ui/inputs.h"

#include <cstdint>
#include <vector>

namespace zandorin {
class ConfigManager;
}

namespace zandorin::autoresponse {

/// The menus of auto-responses. Their values are what the service reads; changing one breaks stored
/// configurations.
enum class Menu : std::uint8_t {
    none,
    comparisons,
    upsConditions,
    signals,
    levels, ///< of a serial signal and of a digital input or output
    connectionActions,
    outletActions,
    returnCodes, ///< exit statuses of monitoring plug-ins
    interfaces,  ///< roles, and "any"
    connections, ///< config.interfaces.<role>
    upses,       ///< ports with a UPS
    sensors,     ///< <port>.enviro.temp, .humid
    outlets,     ///< <port>.power.outlet<N>
    inputPins,
    outputPins,
};

/// What the menu offers on this appliance, without the empty choice. Labels are raw.
std::vector<ui::Option> optionsOf(const ConfigManager &config, Menu menu);

} // namespace zandorin::autoresponse
