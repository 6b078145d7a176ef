#include "services/ports/upkeep.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/port_log.h"
#include "platform/ports/port_settings.h"
#include "services/supervisor.h"
#include "util/log.h"
#include "util/split.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <sys/stat.h>
#include <syslog.h>

namespace zandorin::ports {

namespace {

// Signals of conserver(8).
constexpr int bring_up = SIGUSR1;
constexpr int reopen_logs = SIGUSR2;

std::string deviceOf(unsigned number) {
    struct stat status = {};
    if (::stat(serialDevice(number).c_str(), &status) != 0)
        return "";
    return std::to_string(status.st_dev) + " " + std::to_string(status.st_ino) + " " +
           std::to_string(status.st_rdev) + " " + std::to_string(status.st_ctim.tv_sec);
}

std::uint64_t sizeOf(const std::string &path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

} // namespace

bool Upkeep::rotate(const PortSettings &port) {
    const std::string log = portLogPath(port.number);
    if (sizeOf(log) < std::uint64_t{port.logSize} * 1024)
        return false;
    if (std::rename(log.c_str(), portLogPath(port.number, PortLogAge::older).c_str()) == 0)
        return true;
    logRecord(Priority::error, "The log of port %u could not be begun anew: %s", port.number,
              std::strerror(errno));
    return false;
}

void Upkeep::copyToSyslog(const PortSettings &port, Known &known) {
    constexpr std::size_t most = std::size_t{64} * 1024;
    const auto part = readLogAfter(portLogPath(port.number), known.logged, most);
    if (!part)
        return;
    // Whole lines; of a file that was begun anew from its beginning.
    const auto end = part->text.rfind('\n');
    const bool isCut = part->text.size() == most && end == std::string::npos;
    const std::size_t taken = isCut ? most : end == std::string::npos ? 0 : end + 1;
    known.logged = part->from + taken;
    for (const std::string &line :
         utilities::split(readableLog(part->text.substr(0, taken), false), "\n"))
        ::syslog(LOG_LOCAL0 | LOG_INFO, "%s: %s", portName(port.number).c_str(), line.c_str());
}

void Upkeep::look(const ConfigManager &config) {
    bool isBack = false;
    bool isRotated = false;
    for (unsigned number = 1; number <= portCount(config); ++number) {
        const PortSettings port = portSettings(config, number);
        if (port.mode != PortMode::console) {
            known_.erase(number);
            continue;
        }
        const bool isNew = !known_.contains(number);
        Known &known = known_[number];
        const std::string device = deviceOf(number);
        if (isNew)
            known.logged = sizeOf(portLogPath(number)); // what came before is in no system log now
        else
            isBack = isBack || (!device.empty() && device != known.device);
        known.device = device;
        if (port.logToSyslog)
            copyToSyslog(port, known);
        if (rotate(port)) {
            isRotated = true;
            known.logged = 0;
        }
    }
    // Opening the logs anew brings up what is down as well.
    if (isRotated)
        services::signalService("conserver", reopen_logs);
    else if (isBack)
        services::signalService("conserver", bring_up);
}

} // namespace zandorin::ports
