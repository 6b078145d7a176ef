#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/port_settings.h"
#include "util/fd.h"
#include "util/log.h"
#include "util/strings.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string_view>
#include <thread>

#include <asm/termbits.h>
#include <fcntl.h>
#include <sys/ioctl.h>

// port-line NUMBER...: sets the lines of serial ports exactly as they are configured. conserver
// runs it each time it has opened a port, since its own words know neither every speed nor every
// frame; zandorin-services when settings have changed. What is set belongs to the device, not to
// the descriptor (termios(3)); any speed by TCSETS2.
//
// port-line --break NUMBER: sends a break of the configured length.

namespace {

using namespace zandorin;

tcflag_t sizeOf(unsigned bits) {
    switch (bits) {
    case 5:
        return CS5;
    case 6:
        return CS6;
    case 7:
        return CS7;
    default:
        return CS8;
    }
}

tcflag_t parityOf(PortParity parity) {
    switch (parity) {
    case PortParity::odd:
        return PARENB | PARODD;
    case PortParity::even:
        return PARENB;
    case PortParity::mark:
        return PARENB | PARODD | CMSPAR;
    case PortParity::space:
        return PARENB | CMSPAR;
    case PortParity::none:
        break;
    }
    return 0;
}

void describe(const PortSettings &port, termios2 &line) {
    line.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | PARODD | CMSPAR | CSTOPB | CRTSCTS |
                                           CBAUD | (CBAUD << IBSHIFT) | HUPCL);
    line.c_cflag |=
        BOTHER | (BOTHER << IBSHIFT) | CREAD | CLOCAL | sizeOf(port.bits) | parityOf(port.parity);
    if (port.stop != PortStop::one)
        line.c_cflag |= CSTOPB;
    if (port.flow == PortFlow::hardware)
        line.c_cflag |= CRTSCTS;
    if (port.dtrOnlyInUse)
        line.c_cflag |= HUPCL;
    line.c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF | IXANY);
    if (port.flow == PortFlow::software)
        line.c_iflag |= IXON | IXOFF;
    line.c_ispeed = line.c_ospeed = port.speed;
}

/// A line that is so already is left alone: setting it can spoil the character that is on its way.
bool set(const PortSettings &port, int device) {
    termios2 line = {};
    if (::ioctl(device, TCGETS2, &line) != 0)
        return false;
    const termios2 before = line;
    describe(port, line);
    return std::memcmp(&before, &line, sizeof line) == 0 || ::ioctl(device, TCSETS2, &line) == 0;
}

bool sendBreak(const PortSettings &port, int device) {
    if (::ioctl(device, TIOCSBRK) != 0)
        return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(port.breakLength));
    return ::ioctl(device, TIOCCBRK) == 0;
}

} // namespace

int main(int argc, char **argv) {
    openLog("port-line");
    const bool isBreak = argc == 3 && std::string_view(argv[1]) == "--break";
    ConfigManager config("/etc/config/config.xml", ".");
    if (argc < 2 || !config.readCommitted())
        return 2;
    int status = 0;
    for (int at = isBreak ? 2 : 1; at < argc; ++at) {
        const auto number = parseWhole(argv[at]).value_or(0);
        if (number < 1 || number > portCount(config))
            return 2;
        const PortSettings port = portSettings(config, static_cast<unsigned>(number));
        const UniqueFd device(
            ::open(serialDevice(port.number).c_str(), O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        if (device && (isBreak ? sendBreak(port, device.get()) : set(port, device.get())))
            continue;
        logRecord(Priority::error, "Port %u: %s failed: %s", port.number,
                  isBreak ? "a break" : "setting the line", std::strerror(errno));
        status = 1;
    }
    return status;
}
