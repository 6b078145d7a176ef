// Session files, and the file of their activity: what is read is written and read the same; what
// logs somebody in is whole; no signal goes to a group of processes, init or everybody.

#include "fuzz/support/support.h"

#include "cgi/session.h"
#include "cgi/session_activity.h"
#include "util/strings.h"

#include <ctime>

#include <unistd.h>

namespace zandorin::fuzz {

void checkActivity(const SessionRecord &record, std::int64_t now) {
    auto activity = SessionActivity::load();
    if (!activity)
        return;
    activity->mayHaveEnded(now);
    require(activity->mayHaveEnded(activity->last - 1));
    require(activity->expiryOf(record) >= record.expiryTime);
    activity->admit(record);
    require(activity->save() && SessionActivity::load() == activity);
}

void run(std::string_view input) {
    const std::int64_t now = std::time(nullptr);
    const std::string_view firstLine = input.substr(0, input.find('\n'));
    put("/var/run/.sessions/.activity", firstLine);
    put("/var/run/.sessions/session-abc", input.substr(firstLine.size()));
    const auto record = readSessionRecord("abc");
    if (record) {
        bool canBeWritten = true;
        for (const std::string &word : {record->username, record->sourceIp, record->sourcePort}) {
            require(word.find_first_of("= \n") == word.npos);
            canBeWritten = canBeWritten && !hasControlCharacter(word);
        }
        require(writeSessionRecord("copy", *record) == canBeWritten);
        require(!canBeWritten || readSessionRecord("copy") == record);
        removeSessionRecord("copy");
    }
    checkActivity(record.value_or(SessionRecord()), now);

    const Session session("abc", true);
    require(session.isValid() || !session.authSuccess());
    require(!session.isValid() ||
            (record && isSessionUsername(record->username) && session.authFinalised() &&
             session.username() == record->username && readSessionRecord("abc") &&
             (record->expiryTime >= now || record->autorefresh)));
    ::unlink(sessionPath("abc").c_str());
}

} // namespace zandorin::fuzz
