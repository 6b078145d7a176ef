#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/port_settings.h"
#include "services/quoting.h"
#include "services/service.h"
#include "services/sockets.h"
#include "util/paths.h"
#include "util/split.h"
#include "util/strings.h"

#include <csignal>

// ser2net(8): the serial ports in mode network.

namespace zandorin::services {
namespace {

std::vector<PortSettings> networkPorts(const ConfigManager &config) {
    std::vector<PortSettings> ports;
    for (unsigned number = 1; number <= portCount(config); ++number)
        if (PortSettings port = portSettings(config, number); port.mode == PortMode::network)
            ports.push_back(std::move(port));
    return ports;
}

/// As gensio(5) writes a serial line: "9600n81,local,rtscts".
std::string lineOf(const PortSettings &port) {
    constexpr std::string_view parities = "noems"; // in the order of PortParity
    std::string line = std::to_string(port.speed) +
                       parities[static_cast<std::size_t>(port.parity)] + std::to_string(port.bits) +
                       (port.stop == PortStop::one ? "1" : "2") + ",local";
    if (port.flow == PortFlow::hardware)
        line += ",rtscts";
    if (port.flow == PortFlow::software)
        line += ",xonxoff";
    if (!port.dtrOnlyInUse)
        line += ",hangup-when-done=false";
    return line;
}

std::string accepterOf(const PortSettings &port) {
    // Who may connect is asked of tcp_wrappers by the port's name, see hosts_access(5).
    std::string tcp = "tcp(nodelay=true,tcpd=on,tcpdname=" + portName(port.number) + ")," +
                      std::to_string(port.tcpPort);
    switch (port.protocol) {
    case PortProtocol::telnet:
        return "telnet(rfc2217=true)," + tcp;
    case PortProtocol::tls:
        return "ssl(key=" + appliancePath("/etc/config/ssl_key.pem") +
               ",cert=" + appliancePath("/etc/config/ssl_cert.pem") + ")," + tcp;
    case PortProtocol::raw:
        break;
    }
    return tcp;
}

/// A network as hosts_access(5) writes it: colons separate its fields, but for those in brackets.
std::string clientOf(const std::string &network) {
    if (network.find(':') == std::string::npos)
        return network;
    const auto slash = network.find('/');
    return "[" + network.substr(0, slash) + "]" +
           (slash == std::string::npos ? "" : network.substr(slash));
}

bool isOn(const ConfigManager &config) {
    return !networkPorts(config).empty();
}

std::vector<File> files(const ConfigManager &config) {
    std::string yaml = "%YAML 1.1\n---\n";
    std::string allowed;
    std::string denied;
    for (const PortSettings &port : networkPorts(config)) {
        constexpr unsigned many = 16;
        yaml += "connection: &" + portName(port.number) +
                "\n  accepter: " + ser2netText(accepterOf(port)) + "\n  connector: " +
                ser2netText("serialdev," + serialDevice(port.number) + "," + lineOf(port)) +
                "\n  timeout: " + std::to_string(60 * port.networkIdleMinutes) +
                "\n  options:\n    kickolduser: false\n    max-connections: " +
                std::to_string(port.oneAtATime ? 1 : many) + "\n";
        std::string clients;
        for (const std::string &network : utilities::split(port.allow, ", "))
            clients += " " + clientOf(network);
        if (clients.empty())
            continue;
        allowed += portName(port.number) + ":" + clients + "\n";
        denied += portName(port.number) + ": ALL\n";
    }
    constexpr mode_t readable = 0644;
    return {{.path = "/etc/ser2net/ser2net.yaml", .text = yaml},
            {.path = "/etc/hosts.allow", .text = allowed, .mode = readable},
            {.path = "/etc/hosts.deny", .text = denied, .mode = readable}};
}

std::string run(const ConfigManager & /*config*/) {
    // With an appliance root the tables of the machine are not the appliance's.
    const std::string tables =
        applianceRoot().empty()
            ? ""
            : "LD_PRELOAD=\"$LD_PRELOAD \"" +
                  shellQuote(appliancePath("/usr/lib/zandorin/libhosts_tables.so")) +
                  "\nexport LD_PRELOAD\n";
    return tables + "exec ser2net -d -u -c " +
           shellQuote(appliancePath("/etc/ser2net/ser2net.yaml")) + "\n";
}

bool isHealthy(const ConfigManager &config) {
    for (const PortSettings &port : networkPorts(config))
        if (!acceptsConnections("127.0.0.1", port.tcpPort))
            return false;
    return true;
}

} // namespace

extern const Service ser2net = {.name = "ser2net",
                                .pages = "serialconfig",
                                .isOn = isOn,
                                .files = files,
                                .run = run,
                                .reload = SIGHUP,
                                .isHealthy = isHealthy};

} // namespace zandorin::services
