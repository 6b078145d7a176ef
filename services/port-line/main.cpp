#include "platform/libzandorin/config_manager.h"
#include "platform/ports/port_settings.h"
#include "util/fd.h"
#include "util/log.h"
#include "util/strings.h"

#include <cerrno>
#include <cstring>

#include <asm/termbits.h>
#include <fcntl.h>
#include <sys/ioctl.h>

// port-line NUMBER: sets the line of a serial port exactly as it is configured. conserver runs it
// each time it has opened a port, since its own words know neither every speed nor every frame.
// What is set belongs to the device, not to the descriptor (termios(3)); any speed by TCSETS2.

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

} // namespace

int main(int argc, char **argv) {
    openLog("port-line");
    const auto number = argc == 2 ? parseWhole(argv[1]) : std::nullopt;
    ConfigManager config("/etc/config/config.xml", ".");
    if (!number || *number < 1 || !config.readCommitted())
        return 2;
    const PortSettings port = portSettings(config, static_cast<unsigned>(*number));
    const UniqueFd device(
        ::open(serialDevice(port.number).c_str(), O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    termios2 line = {};
    if (!device || ::ioctl(device.get(), TCGETS2, &line) != 0) {
        logRecord(Priority::error, "Port %u cannot be set: %s", port.number, std::strerror(errno));
        return 1;
    }
    describe(port, line);
    if (::ioctl(device.get(), TCSETS2, &line) != 0) {
        logRecord(Priority::error, "Port %u does not take its settings: %s", port.number,
                  std::strerror(errno));
        return 1;
    }
    return 0;
}
