#pragma once

namespace zandorin::services {

/// True when something takes connections to this TCP port on the loopback address.
bool acceptsConnections(unsigned tcpPort);

} // namespace zandorin::services
