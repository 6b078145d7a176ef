#include "platform/libzandorin/serial_ports.h"

#include "platform/libzandorin/config_manager.h"

#include <algorithm>

namespace zandorin {

unsigned portCount(const ConfigManager &config) {
    constexpr unsigned most = 1024;
    return std::min(config.getSerialPortCount(), most);
}

std::string portReference(unsigned number) {
    return "config.ports.port" + std::to_string(number);
}

unsigned slavePortCount(const ConfigManager &config, const std::string &key) {
    constexpr unsigned standard = 8;
    constexpr unsigned most = 96;
    const unsigned count = config.getSize(key + ".ports");
    return count == 0 ? standard : std::min(count, most);
}

std::string portLabel(const ConfigManager &config, unsigned number) {
    const std::string label = config.getElement(portReference(number) + ".label");
    return label.empty() ? "Port " + std::to_string(number) : label;
}

} // namespace zandorin
