#pragma once

#include "platform/ports/port_status.h"
#include "services/ports/console_client.h"
#include "services/ports/terminal.h"

#include <span>
#include <string>
#include <vector>

namespace zandorin {
class ConfigManager;
}

namespace zandorin::ports {

/// What is known of all serial ports: what conserver says, whose terminals those are, what the
/// kernel counts, who is connected by TCP, and the last line of each log.
std::vector<PortState> statesOf(const ConfigManager &config,
                                const std::vector<ConsoleState> &consoles,
                                std::span<const Terminal *const> terminals);

/// The ports in mode console that the user may use, for the menu: a line each, of the name, the
/// label, the state and the number of the escape character, separated by tabs.
std::string listOf(const ConfigManager &config, const std::vector<ConsoleState> &consoles,
                   const std::string &user);

/// Gives each user that a terminal of ours has put on its console what we know of that terminal.
void joinTerminals(std::vector<PortUser> &users, unsigned port,
                   std::span<const Terminal *const> terminals);

/// Remote addresses of the connections to a local TCP port that stand in a table of the kernel such
/// as /proc/net/tcp (proc(5)); of the loopback ones both ends are in it, and one is answered.
std::vector<std::string> connectionsTo(unsigned tcpPort, std::string_view table);

} // namespace zandorin::ports
