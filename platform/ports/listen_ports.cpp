#include "platform/ports/listen_ports.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/port_settings.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin {

namespace {

/// What listens on a TCP port besides the serial ports.
struct Listener {
    std::string_view name;
    unsigned standard;
    const char *key;    ///< of another port that was configured; null: it has none
    const char *called; ///< by people
};
constexpr Listener listeners[] = {
    {"http", 80, "config.services.http.port", "the web server"},
    {"https", 443, "config.services.https.port", "the web server"},
    {"ssh", 22, "config.services.ssh.port", "SSH"},
    {"telnet", 23, "config.services.telnet.port", "Telnet"},
    {"conserver", 782, nullptr, "the service of the serial ports"},
    {"upsd", 3493, nullptr, "the service of uninterruptible power supplies"},
    {"network-base", 4000, nullptr, nullptr},
};

constexpr unsigned most = 65535;

unsigned portOr(std::string_view text, unsigned otherwise) {
    const auto number = parseWhole(text);
    return number && *number > 0 && *number <= most ? static_cast<unsigned>(*number) : otherwise;
}

unsigned portOf(const ConfigManager &config, const Listener &listener) {
    const unsigned standard = listenPort(listener.name);
    return listener.key == nullptr ? standard : portOr(config.getElement(listener.key), standard);
}

} // namespace

unsigned listenPort(std::string_view name) {
    for (const Listener &listener : listeners) {
        if (listener.name != name)
            continue;
        const auto file = readFile(appliancePath("/etc/ports.listen"), std::size_t{64} * 1024);
        for (const std::string &line : utilities::split(file.value_or(""), "\n"))
            if (line.starts_with(concat({name, " "})))
                return portOr(std::string_view(line).substr(name.size() + 1), listener.standard);
        return listener.standard;
    }
    return 0;
}

unsigned sshPort(const ConfigManager &config) {
    const auto *ssh = std::find_if(std::begin(listeners), std::end(listeners),
                                   [](const Listener &listener) { return listener.name == "ssh"; });
    return portOf(config, *ssh);
}

std::string localAddress() {
    const auto file = applianceRoot().empty()
                          ? std::nullopt
                          : readFile(appliancePath("/etc/lighttpd/listen"), 4096);
    const auto words = utilities::split(file.value_or(""), " \n");
    return words.empty() ? "127.0.0.1" : words.front();
}

std::string tcpPortUser(const ConfigManager &config, unsigned tcpPort, unsigned exceptPort) {
    for (const Listener &listener : listeners)
        if (listener.called != nullptr && portOf(config, listener) == tcpPort)
            return listener.called;
    for (unsigned number = 1; number <= portCount(config); ++number) {
        const PortSettings port = portSettings(config, number);
        if (number != exceptPort && port.mode == PortMode::network && port.tcpPort == tcpPort)
            return port.label;
    }
    return "";
}

} // namespace zandorin
