#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zandorin {

class ConfigManager;

// The settings of a serial port as the programs that act on them read them, with what holds where
// nothing is stored. docs/configuration.md has the keys.

/// What a port is used for, one at a time.
enum class PortMode : std::uint8_t {
    console, ///< terminals, in the browser and by SSH
    network, ///< programs on other computers, by TCP
    device,  ///< the appliance itself: a UPS, a power strip, an environmental monitor
    login,   ///< somebody at the other end logs in to the appliance
    off,
};

enum class PortLog : std::uint8_t { received, both, connections, off };
enum class PortProtocol : std::uint8_t { raw, telnet, tls };

struct PortSettings {
    unsigned number = 0;
    std::string label;
    PortMode mode = PortMode::console;

    unsigned speed = 9600; ///< bits per second
    unsigned dataBits = 8;
    char parity = 'N';          ///< of None, Odd, Even, Mark, Space the first letter
    std::string stop = "1";     ///< 1, 1.5 or 2
    char flow = 'N';            ///< of None, Hardware, Software
    bool keepsDtr = true;       ///< DTR and RTS are raised all the time, not only while in use
    unsigned breakLength = 250; ///< milliseconds

    char escape = 'E' - '@'; ///< the control character itself
    unsigned idle = 0;       ///< minutes; 0: no limit

    PortLog log = PortLog::received;
    unsigned logSize = 1024; ///< KiB
    bool logsToSyslog = false;

    PortProtocol protocol = PortProtocol::raw;
    unsigned tcpPort = 0;             ///< 0 where none is stored and the port is in another mode
    std::vector<std::string> allowed; ///< addresses and networks; empty: everybody
    unsigned networkIdle = 0;         ///< minutes; 0: no limit
    bool isSingle = false;
};

/// What is stored for the port, word by word; a word that nothing knows counts as not stored.
PortSettings portSettings(const ConfigManager &config, unsigned number);

/// The port's device file on this machine: /dev/port<number> below the appliance root.
std::string serialDevice(unsigned number);

// TCP ports of the appliance's own programs. The file /etc/ports.listen, lines of a name and a
// number, changes what holds where nothing is configured: a development server runs beside others.

/// Where sshd listens: config.services.ssh.port, else 22.
unsigned sshPort(const ConfigManager &config);
/// Where conserver listens: 782.
unsigned conserverPort();
/// Of a port without a TCP port of its own: this and its number. 4000.
unsigned networkPortBase();

/// Who else uses a TCP port, raw: "the web server", "SSH", the label of another serial port; "" for
/// nobody. `port` is the serial port that asks; 0 for none.
std::string tcpPortUser(const ConfigManager &config, unsigned tcpPort, unsigned port);

} // namespace zandorin
