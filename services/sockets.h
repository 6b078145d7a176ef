#pragma once

#include "util/fd.h"

#include <chrono>
#include <string>

namespace zandorin::services {

/// A connection to this TCP port of an IPv4 address, none when nobody takes it. Each call on it,
/// and connect(2) itself, waits for so long; 0: as long as it takes.
UniqueFd connectTcp(const std::string &address, unsigned tcpPort, std::chrono::seconds patience);

/// True when something takes connections to this TCP port of an IPv4 address.
bool acceptsConnections(const std::string &address, unsigned tcpPort);

} // namespace zandorin::services
