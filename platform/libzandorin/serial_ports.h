#pragma once

#include <string>

namespace zandorin {

class ConfigManager;

// The serial ports as the configuration has them, for the pages that list them.

/// Number of serial ports that pages show, bounded whatever the configuration says.
unsigned portCount(const ConfigManager &config);
/// "config.ports.port<number>".
std::string portReference(unsigned number);
/// Number of serial ports of another appliance, whose record of config.slaves has this key.
unsigned slavePortCount(const ConfigManager &config, const std::string &key);
/// The port's label, raw, or "Port <number>".
std::string portLabel(const ConfigManager &config, unsigned number);

} // namespace zandorin
