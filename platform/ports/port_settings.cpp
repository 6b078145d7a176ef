#include "platform/ports/port_settings.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/listen_ports.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <array>

namespace zandorin {

namespace {

template <typename Value> struct Word {
    std::string_view word;
    Value value;
};
template <typename Value> Word(const char *, Value) -> Word<Value>;

constexpr std::array modes = {
    Word{"off", PortMode::off},         Word{"console", PortMode::console},
    Word{"network", PortMode::network}, Word{"device", PortMode::device},
    Word{"login", PortMode::login},
};
constexpr std::array parities = {
    Word{"None", PortParity::none},   Word{"Odd", PortParity::odd},
    Word{"Even", PortParity::even},   Word{"Mark", PortParity::mark},
    Word{"Space", PortParity::space},
};
constexpr std::array stops = {
    Word{"1", PortStop::one},
    Word{"1.5", PortStop::oneAndHalf},
    Word{"2", PortStop::two},
};
constexpr std::array flows = {
    Word{"None", PortFlow::none},
    Word{"Hardware", PortFlow::hardware},
    Word{"Software", PortFlow::software},
};
constexpr std::array logs = {
    Word{"off", PortLog::off},
    Word{"connections", PortLog::connections},
    Word{"received", PortLog::received},
    Word{"both", PortLog::both},
};
constexpr std::array protocols = {
    Word{"raw", PortProtocol::raw},
    Word{"telnet", PortProtocol::telnet},
    Word{"tls", PortProtocol::tls},
};
constexpr std::array device_types = {
    Word<std::string_view>{"ups", "ups"},
    Word<std::string_view>{"rpc", "rpc"},
    Word<std::string_view>{"enviro", "enviro"},
};

/// Reads what is below one port's key. What it finds replaces the standard value, where it is fit
/// to.
class Reader {
  public:
    Reader(const ConfigManager &config, std::string reference)
        : config_(config), reference_(std::move(reference)) {}

    std::string text(std::string_view name) const {
        return config_.getElement(concat({reference_, name}));
    }
    bool isOn(std::string_view name) const {
        return config_.getBoolean(concat({reference_, name}));
    }
    template <typename Words, typename Value>
    void word(std::string_view name, const Words &words, Value &value) const {
        const std::string stored = text(name);
        for (const auto &candidate : words)
            if (candidate.word == stored)
                value = candidate.value;
    }
    void number(std::string_view name, unsigned least, unsigned most, unsigned &value) const {
        const auto stored = parseWhole(text(name));
        if (stored && *stored >= least && *stored <= most)
            value = static_cast<unsigned>(*stored);
    }

  private:
    const ConfigManager &config_;
    std::string reference_;
};

constexpr unsigned most_minutes = 7 * 24 * 60;

} // namespace

PortSettings portSettings(const ConfigManager &config, unsigned number) {
    const Reader stored(config, portReference(number));
    PortSettings port;
    port.number = number;
    port.label = portLabel(config, number);
    stored.word(".mode", modes, port.mode);
    stored.number(".speed", 50, 4000000, port.speed);
    stored.number(".charsize", 5, 8, port.bits);
    stored.word(".parity", parities, port.parity);
    stored.word(".stop", stops, port.stop);
    stored.word(".flowcontrol", flows, port.flow);
    port.dtrOnlyInUse = stored.text(".dtr") == "session";
    stored.number(".breaklength", 100, 3000, port.breakLength);
    if (const std::string letter = stored.text(".escape");
        letter.size() == 1 && letter[0] >= 'A' && letter[0] <= 'Z')
        port.escape = static_cast<char>(letter[0] - '@');
    stored.number(".idle", 1, most_minutes, port.idleMinutes);
    stored.word(".log.mode", logs, port.log);
    stored.number(".log.size", 16, 65536, port.logSize);
    port.logToSyslog = stored.isOn(".log.syslog");
    stored.word(".network.protocol", protocols, port.protocol);
    stored.number(".network.port", 1, 65535, port.tcpPort);
    if (port.tcpPort == 0)
        port.tcpPort = listenPort("network-base") + number;
    port.allow = stored.text(".network.allow");
    stored.number(".network.idle", 1, most_minutes, port.networkIdleMinutes);
    port.oneAtATime = stored.isOn(".network.single");
    stored.word(".device.type", device_types, port.device);
    return port;
}

std::string_view modeName(PortMode mode) {
    const auto *found = std::find_if(modes.begin(), modes.end(),
                                     [mode](const auto &word) { return word.value == mode; });
    return found == modes.end() ? "" : found->word;
}

std::string escapeName(char escape) {
    return {'^', static_cast<char>(escape ^ 0x40)};
}

std::string serialDevice(unsigned number) {
    return appliancePath("/dev/" + portName(number));
}

std::string portLogFile(unsigned number) {
    return appliancePath("/var/log/ports/" + portName(number) + ".log");
}

std::string portName(unsigned number) {
    return "port" + std::to_string(number);
}

} // namespace zandorin
