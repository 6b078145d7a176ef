#pragma once

#include <cstdint>
#include <string>

namespace zandorin {

/// What is known of a service (services/) since its settings were changed last.
struct ServiceHistory {
    std::int64_t changed = 0; ///< when it took new settings, seconds since the epoch; 0: never
    std::int64_t refused = 0; ///< when it did not
    std::string words = "";   ///< why, raw; "" once it has taken some since
};

/// Read from /var/run/services/<name>; nothing known when there is no such file.
ServiceHistory serviceHistory(const std::string &name);
/// Replaces that file; false when that failed.
bool keepServiceHistory(const std::string &name, const ServiceHistory &history);

} // namespace zandorin
