#include "platform/ports/port_settings.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>
#include <iterator>

namespace zandorin {

namespace {

template <typename Meaning> struct Word {
    std::string_view word;
    Meaning meaning;
};

constexpr Word<PortMode> modes[] = {
    {"console", PortMode::console}, {"network", PortMode::network}, {"device", PortMode::device},
    {"login", PortMode::login},     {"off", PortMode::off},
};
constexpr Word<PortLog> logs[] = {
    {"received", PortLog::received},
    {"both", PortLog::both},
    {"connections", PortLog::connections},
    {"off", PortLog::off},
};
constexpr Word<PortProtocol> protocols[] = {
    {"raw", PortProtocol::raw}, {"telnet", PortProtocol::telnet}, {"tls", PortProtocol::tls}};

/// The first meaning is that of any other word.
template <typename Meaning, std::size_t Count>
Meaning meaningOf(const std::string &stored, const Word<Meaning> (&words)[Count]) {
    const auto *const found = std::find_if(std::begin(words), std::end(words),
                                           [&](const auto &known) { return known.word == stored; });
    return found == std::end(words) ? words[0].meaning : found->meaning;
}

unsigned numberOf(const std::string &stored, unsigned least, unsigned most, unsigned standard) {
    const auto number = parseWhole(stored);
    return number && *number >= least && *number <= most ? static_cast<unsigned>(*number)
                                                         : standard;
}

char oneOf(const std::string &stored, std::string_view letters) {
    const bool isKnown = !stored.empty() && letters.find(stored.front()) != std::string_view::npos;
    return isKnown ? stored.front() : letters.front();
}

constexpr unsigned highest_tcp_port = 65535;

unsigned listenPort(std::string_view name, unsigned standard) {
    constexpr std::size_t limit = 4096;
    const std::string text = readFile(appliancePath("/etc/ports.listen"), limit).value_or("");
    for (const std::string &line : utilities::split(text, "\n")) {
        const auto words = utilities::split(line, " ");
        if (words.size() == 2 && words[0] == name)
            return numberOf(words[1], 1, highest_tcp_port, standard);
    }
    return standard;
}

} // namespace

PortSettings portSettings(const ConfigManager &config, unsigned number) {
    const std::string key = portReference(number);
    const auto stored = [&](const char *name) { return config.getElement(key + name); };
    constexpr unsigned most_minutes = 10080;
    PortSettings port;
    port.number = number;
    port.label = portLabel(config, number);
    port.mode = meaningOf(stored(".mode"), modes);
    port.speed = numberOf(stored(".speed"), 50, 921600, port.speed);
    port.dataBits = numberOf(stored(".charsize"), 5, 8, port.dataBits);
    port.parity = oneOf(stored(".parity"), "NOEMS");
    if (const std::string stop = stored(".stop"); stop == "2" || stop == "1.5")
        port.stop = stop;
    port.flow = oneOf(stored(".flowcontrol"), "NHS");
    port.keepsDtr = stored(".dtr") != "session";
    port.breakLength = numberOf(stored(".breaklength"), 100, 3000, port.breakLength);
    if (const std::string escape = stored(".escape");
        escape.size() == 2 && escape[0] == '^' && escape[1] >= 'A' && escape[1] <= '_')
        port.escape = static_cast<char>(escape[1] - '@');
    port.idle = numberOf(stored(".idle"), 0, most_minutes, 0);
    port.log = meaningOf(stored(".log.mode"), logs);
    port.logSize = numberOf(stored(".log.size"), 16, 65536, port.logSize);
    port.logsToSyslog = config.getBoolean(key + ".log.syslog");
    port.protocol = meaningOf(stored(".network.protocol"), protocols);
    port.tcpPort = numberOf(stored(".network.port"), 1, highest_tcp_port, 0);
    if (port.tcpPort == 0 && port.mode == PortMode::network)
        port.tcpPort = networkPortBase() + number;
    port.allowed = utilities::split(stored(".network.allow"), ", ");
    port.networkIdle = numberOf(stored(".network.idle"), 0, most_minutes, 0);
    port.isSingle = config.getBoolean(key + ".network.single");
    return port;
}

std::string serialDevice(unsigned number) {
    return applianceRoot() + "/dev/port" + std::to_string(number);
}

unsigned sshPort(const ConfigManager &config) {
    return numberOf(config.getElement("config.services.ssh.port"), 1, highest_tcp_port,
                    listenPort("ssh", 22));
}

unsigned conserverPort() {
    return listenPort("conserver", 782);
}

unsigned networkPortBase() {
    return listenPort("network-base", 4000);
}

std::string tcpPortUser(const ConfigManager &config, unsigned tcpPort, unsigned port) {
    struct Service {
        const char *name;
        const char *enabled;
        const char *port;
        unsigned standard;
    };
    static constexpr Service services[] = {
        {"the web server", "config.services.http.enabled", "config.services.http.port", 80},
        {"the web server", "config.services.https.enabled", "config.services.https.port", 443},
        {"Telnet", "config.services.telnet.enabled", "config.services.telnet.port", 23},
    };
    for (const Service &service : services)
        if (config.getBoolean(service.enabled) &&
            numberOf(config.getElement(service.port), 1, highest_tcp_port, service.standard) ==
                tcpPort)
            return service.name;
    if (config.getBoolean("config.services.ssh.enabled") && sshPort(config) == tcpPort)
        return "SSH";
    if (conserverPort() == tcpPort)
        return "the console server";
    for (unsigned other = 1; other <= portCount(config); ++other) {
        if (other == port)
            continue;
        const PortSettings settings = portSettings(config, other);
        if (settings.mode == PortMode::network && settings.tcpPort == tcpPort)
            return settings.label;
    }
    return "";
}

} // namespace zandorin
