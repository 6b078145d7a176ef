#pragma once

#include "settings/option.h"

#include <string>
#include <string_view>
#include <vector>

namespace zandorin {
class ConfigManager;
}

// What this appliance has, as choices of any page: its serial ports, the devices on them, network
// interfaces, digital pins. Labels are raw; `place` is not
// looked at.

namespace zandorin::settings {

/// Every serial port by its key; boxes end with the ports' numbers.
std::vector<Option> portOptions(const ConfigManager &config, const std::string &place = "");

/// The ports with a device of that kind: "ups", "rpc" or "enviro".
std::vector<Option> portsWith(const ConfigManager &config, std::string_view kind);

std::vector<Option> upsOptions(const ConfigManager &config, const std::string &place = "");
/// Temperature and humidity of each port with an environmental monitor.
std::vector<Option> sensorOptions(const ConfigManager &config, const std::string &place = "");

/// The digital inputs and outputs of this model; most have none.
std::vector<Option> inputPins(const ConfigManager &config, const std::string &place = "");
std::vector<Option> outputPins(const ConfigManager &config, const std::string &place = "");

/// The network interfaces by their roles, and "any"; and all of them by their keys.
std::vector<Option> interfaceOptions(const ConfigManager &config, const std::string &place = "");
std::vector<Option> connectionOptions(const ConfigManager &config, const std::string &place = "");

/// Every power outlet by its key, those of one device in a group:
/// config.ports.port<P>.power.outlet<O> of a port with a power strip, and
/// config.power.device<D>.outlet<O> of a strip in the network.
std::vector<Option> outletOptions(const ConfigManager &config, const std::string &place = "");

/// The outlets that a user was given, as a list of their keys below the user's record.
inline constexpr const char *granted_outlets = ".power.outlets";
inline constexpr const char *outlet_word = "outlet";

/// Outlets used to be listed without a device, in config.power.outlets. Makes them those of one
/// more strip in the network, for users who have them too, in the store's memory. To be called
/// before outlets are looked at; the next change saves it.
void moveOutlets(ConfigManager &config);

} // namespace zandorin::settings
