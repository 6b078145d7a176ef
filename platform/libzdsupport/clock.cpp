#include "platform/libzdsupport/clock.h"

#include "platform/libzdsupport/child.h"
#include "util/paths.h"

#include <cerrno>

namespace zandorin::utilities {

int setSystemClock(std::time_t seconds) {
    if (!applianceRoot().empty())
        return EPERM;
    timespec time = {};
    time.tv_sec = seconds;
    return ::clock_settime(CLOCK_REALTIME, &time) == 0 ? 0 : errno;
}

bool storeHardwareClock() {
    constexpr std::chrono::seconds limit(10);
    const std::string program = appliancePath("/sbin/hwclock");
    const char *const arguments[] = {program.c_str(), "--systohc", "--utc", nullptr};
    return platform::runProgram(arguments, limit) == 0;
}

} // namespace zandorin::utilities
