#include "cgi/session_activity.h"

#include "cgi/session.h"
#include "util/files.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin {

namespace {

std::string activityPath() {
    return sessionFolder() + "/.activity";
}

/// A failed login is not kept alive.
bool refreshesItself(const SessionRecord &session) {
    return session.autorefresh && session.authState != Session::state_helper_failed &&
           session.authState != Session::state_rejected;
}

} // namespace

std::optional<SessionActivity> SessionActivity::load() {
    const auto words = utilities::split(readFile(activityPath(), 1024).value_or(""), " \n");
    if (words.size() != 5)
        return std::nullopt;
    const auto since = parseWhole(words[0]);
    const auto last = parseWhole(words[1]);
    const auto shortest = parseWhole(words[2]);
    const auto firstEnd = parseWhole(words[3]);
    // A time that leaves no room to reckon with is damage.
    constexpr std::int64_t latest = std::numeric_limits<std::int64_t>::max() / 2;
    if (!since || !last || !shortest || !firstEnd || *last < 0 || *last > latest)
        return std::nullopt;
    const auto nearest = [](std::int64_t number) {
        using Limits = std::numeric_limits<std::int32_t>;
        return static_cast<std::int32_t>(
            std::clamp<std::int64_t>(number, Limits::min(), Limits::max()));
    };
    SessionActivity activity;
    activity.since = *since;
    activity.last = *last;
    activity.shortest = nearest(*shortest);
    activity.firstEnd = nearest(*firstEnd);
    activity.cursor = words[4];
    return activity;
}

bool SessionActivity::save() const {
    const std::string text = std::to_string(since) + " " + std::to_string(last) + " " +
                             std::to_string(shortest) + " " + std::to_string(firstEnd) + " " +
                             cursor + "\n";
    return replaceFile(activityPath(), text, 0600, Durable::no);
}

bool SessionActivity::mayHaveEnded(std::int64_t now) const {
    // A clock that was set back makes every stored end wrong.
    return now < last || now - last > std::int64_t{60} * shortest || now > firstEnd;
}

void SessionActivity::admit(const SessionRecord &session) {
    if (refreshesItself(session))
        shortest = std::min(shortest, session.sessionLength);
    else
        firstEnd = std::min(firstEnd, session.expiryTime);
}

std::int32_t SessionActivity::expiryOf(const SessionRecord &session) const {
    const std::int64_t length = std::int64_t{60} * session.sessionLength;
    // What was written before `since` may have ended in a long pause.
    const bool wasRefreshed = refreshesItself(session) && session.expiryTime - length >= since;
    if (!wasRefreshed || last + length <= session.expiryTime)
        return session.expiryTime;
    return static_cast<std::int32_t>(
        std::min<std::int64_t>(last + length, std::numeric_limits<std::int32_t>::max()));
}

} // namespace zandorin
