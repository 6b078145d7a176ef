#pragma once

#include <cstdint>
#include <string>

namespace zandorin {

/// Seconds since the epoch as "2026-11-24 03:29:06", in the appliance's time zone; "" when the
/// system cannot say.
std::string localTime(std::int64_t seconds);

/// A number of seconds in its two largest units, such as "2 h 5 min" or "12 s".
std::string durationWords(std::int64_t seconds);

} // namespace zandorin
