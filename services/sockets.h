#pragma once

#include <string>

namespace zandorin::services {

/// True when something takes connections to this TCP port of an IPv4 address.
bool acceptsConnections(const std::string &address, unsigned tcpPort);

} // namespace zandorin::services
