#pragma once

#include <ctime>

namespace zandorin::utilities {

/// Where the daemon that keeps the clock, chronyd(8), takes chronyc(1)'s questions.
inline constexpr const char *chrony_socket = "/var/run/chrony/chronyd.sock";

/// Sets the system's clock to a time in seconds since the epoch. 0, or the errno of the failure:
/// always EPERM with an appliance root other than "/", where the clock is not the appliance's own.
int setSystemClock(std::time_t seconds);

/// Stores the system's time in the hardware clock, as UTC, by /sbin/hwclock; false when that
/// failed or took longer than 10 seconds.
bool storeHardwareClock();

} // namespace zandorin::utilities
