#pragma once

#include "cgi/session_file.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace zandorin {

/// What keeps a crowd of sessions alive without writing each file in each request: every request
/// extends every session that refreshes itself, so such a session lives as long as the pauses
/// between requests are shorter than its lifetime, whatever its file says by now.
/// Kept in /var/run/.sessions/.activity; there only while there are many sessions.
struct SessionActivity {
    /// Since this second no pause was longer than `shortest`; the last request. Seconds since the
    /// epoch.
    std::int64_t since = 0;
    std::int64_t last = 0;
    /// Shortest lifetime of the sessions that refresh themselves, minutes.
    std::int32_t shortest = std::numeric_limits<std::int32_t>::max();
    /// The earliest end of those that do not, seconds since the epoch.
    std::int32_t firstEnd = std::numeric_limits<std::int32_t>::max();
    /// Id of the session that was looked at last, "-" for none.
    std::string cursor = "-";

    bool operator==(const SessionActivity &) const = default;

    /// None when it is missing or damaged.
    static std::optional<SessionActivity> load();
    /// Replaces the file; false when that failed.
    bool save() const;

    /// True when at `now` a session may have ended, so that every one must be looked at.
    bool mayHaveEnded(std::int64_t now) const;

    /// Counts this session in.
    void admit(const SessionRecord &session);

    /// When the session ends, with the refreshes that its file has not seen yet.
    std::int32_t expiryOf(const SessionRecord &session) const;
};

} // namespace zandorin
