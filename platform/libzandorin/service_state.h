#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <sys/types.h>

// The services (services/) as pages and programs see them: what runs, by the supervisor's folders
// (runsv(8)), and what became of the last change.

namespace zandorin {

/// What is known of a service (services/) since its settings were changed last.
struct ServiceHistory {
    std::int64_t changed = 0; ///< when it took new settings, seconds since the epoch; 0: never
    bool isElsewhere = false; ///< it belongs to the machine, and this appliance is not the machine
    std::int64_t refused = 0; ///< when it did not
    std::string words = "";   ///< why, raw; "" once it has taken some since
};

/// The names of all services that have a history, sorted.
std::vector<std::string> serviceNames();

/// Read from /var/run/services/<name>; nothing known when there is no such file.
ServiceHistory serviceHistory(const std::string &name);
/// Replaces that file; false when that failed.
bool keepServiceHistory(const std::string &name, const ServiceHistory &history);

/// The supervisor's folder of the service, on this machine.
std::string serviceFolder(const std::string &name);
/// True when the supervisor has the service; false, too, when no supervisor runs.
bool isSupervised(const std::string &name);
/// The process of the service; 0 when it does not run.
pid_t processOf(const std::string &name);
/// Seconds since it was started; -1 when it does not run.
long secondsUp(const std::string &name);

} // namespace zandorin
