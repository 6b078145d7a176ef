#pragma once

#include <string>
#include <string_view>

namespace zandorin {

class ConfigManager;

/// The TCP port that the appliance gives to `name` where the configuration names none: "ssh" (22),
/// "conserver" (782), "upsd" (3493), "network-base" (4000; a serial port in mode network has this
/// plus its number), "http" (80), "https" (443). In development, where those belong to the machine,
/// the file /etc/ports.listen has others, a line each: the name, a blank and the number. 0 for any
/// other name.
unsigned listenPort(std::string_view name);

/// Where sshd listens.
unsigned sshPort(const ConfigManager &config);

/// Where the appliance's own programs reach each other: 127.0.0.1, in development the address that
/// the file /etc/lighttpd/listen begins with.
std::string localAddress();

/// Who else uses a TCP port: the label of a serial port in mode network (but `exceptPort`, the
/// number of the one that asks), or one of the appliance's own services, as people call it ("the
/// web server", "SSH"). "" when nobody does.
std::string tcpPortUser(const ConfigManager &config, unsigned tcpPort, unsigned exceptPort);

} // namespace zandorin
