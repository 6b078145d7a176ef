#pragma once

#include <string>
#include <string_view>

namespace zandorin {

class ConfigManager;

// The settings of the serial ports, config.ports.port<n>, as everybody but the page that edits them
// reads them. docs/serial-ports.md describes the keys.

/// What a port is for. It is in one mode at a time.
enum class PortMode { off, console, network, device, login };
enum class PortParity { none, odd, even, mark, space };
enum class PortFlow { none, hardware, software };
/// Of one and a half stop bits, which terminals of five bits ask for, the hardware makes what it
/// can.
enum class PortStop { one, oneAndHalf, two };
/// What of a port is kept in its log: who came and went, besides it what the device sent, besides
/// that what was typed.
enum class PortLog { off, connections, received, both };
/// `telnet` is with the control of the line (RFC 2217).
enum class PortProtocol { raw, telnet, tls };

/// One port. A value that is missing, or none of those that the pages let through, reads as the
/// standard one.
struct PortSettings {
    unsigned number = 0;
    std::string label; ///< never empty
    PortMode mode = PortMode::console;

    // The line.
    unsigned speed = 9600; ///< bits per second, 50 to 4000000
    unsigned bits = 8;     ///< of a character, 5 to 8
    PortParity parity = PortParity::none;
    PortStop stop = PortStop::one;
    PortFlow flow = PortFlow::none;
    bool dtrOnlyInUse = false;  ///< DTR is raised for a session, not always
    unsigned breakLength = 250; ///< milliseconds

    // Mode console.
    char escape = '\x05';     ///< begins a command of the console, followed by "c"
    unsigned idleMinutes = 0; ///< until a writer is disconnected; 0: never

    // What is kept.
    PortLog log = PortLog::received;
    unsigned logSize = 1024; ///< KiB of the current file; one older file is kept beside it
    bool logToSyslog = false;

    // Mode network.
    PortProtocol protocol = PortProtocol::raw;
    unsigned tcpPort = 0;            ///< never 0 once read
    std::string allow;               ///< networks, separated by commas; "": everybody
    unsigned networkIdleMinutes = 0; ///< 0: never
    bool oneAtATime = false;

    std::string device; ///< "ups", "rpc", "enviro" or "", what mode device is about
};

/// The settings of the port with this number, whether the appliance has it or not.
PortSettings portSettings(const ConfigManager &config, unsigned number);

/// The word of the configuration: "console".
std::string_view modeName(PortMode mode);

/// The escape character as people write it: "^E" for '\x05'.
std::string escapeName(char escape);

// Where the ports are, on this machine.

/// The device file: udev links it on an appliance, a simulated device in development.
std::string serialDevice(unsigned number);
/// The log of the port; what was moved out of it is in the same with ".1" added.
std::string portLogFile(unsigned number);
/// The name of the port at conserver, in addresses and for SSH: "port3".
std::string portName(unsigned number);

} // namespace zandorin
