#pragma once

#include <string>

namespace zandorin {

class ConfigManager;

/// The engine ID (RFC 3411) that the appliance has made for itself where none is stored under
/// `key`: for "config.services.snmp.engineid" the agent's, for keys that begin with
/// "config.system.snmp.engineid" that of traps, which is made when there is none yet. "" when one
/// is stored, for any other key, and when none is known.
std::string snmpEngineId(const ConfigManager &config, const std::string &key);

} // namespace zandorin
