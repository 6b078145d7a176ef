#pragma once

#include "util/fd.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin {

/// What a session file /var/run/.sessions/session-<id> holds, one "key = value" line each. A value
/// read is its first word: no blank and no "=" stands in it.
struct SessionRecord {
    std::string username = "";
    std::int32_t expiryTime = 0; ///< seconds since the epoch
    std::int32_t authPid = 0;
    std::int32_t authState = 0;
    std::int32_t sessionLength = 0; ///< minutes
    bool autorefresh = false;
    std::string sourceIp = "";     ///< of the request that wrote the file
    std::string sourcePort = "";   ///< of the request that wrote the file
    std::int64_t sessionStart = 0; ///< seconds since the epoch

    bool operator==(const SessionRecord &) const = default;
};

/// True when `id` may name a session: not empty, only letters, digits, "-" and "_".
bool isSessionId(std::string_view id);

/// The folder of all sessions on this machine.
std::string sessionFolder();

/// The file of that session on this machine; "" for what is no id.
std::string sessionPath(std::string_view id);

/// Ids of all stored sessions, sorted; empty when the folder cannot be read.
std::vector<std::string> listSessionIds();

/// True when a user of this name can hold a session: stored, the name reads back as itself (it is
/// not empty, and holds no blank, "=" or control character), and it does not begin with "(", as
/// what stands in the place of an unusable name does.
bool isSessionUsername(std::string_view name);

/// Nobody waits for a session's lock longer than this: whoever holds one that long is stuck.
inline constexpr std::chrono::milliseconds session_patience = std::chrono::seconds(1);

/// Reads a session file as it stands, without judging or refreshing it. When somebody writes over
/// it for longer than `patience`, it is read all the same: what is half the old and half the new
/// record logs nobody in. Without any patience it is then not read. Lines of fewer than two words
/// and unknown keys are skipped, what is missing keeps its default; a number out of range is the
/// nearest one in range. None when it cannot be read; errno is EFBIG of a file that is too long to
/// be one, and EBADMSG of a torn one: without a user name, an expiry or a state it is no session.
std::optional<SessionRecord>
readSessionRecord(std::string_view id, std::chrono::milliseconds patience = session_patience);

/// Replaces the session's file; the folder is made when it is missing (0700, the file 0600). False
/// when it could not be written, for what is no id, or when a text of the record holds a control
/// character: nothing may smuggle in a line.
bool writeSessionRecord(std::string_view id, const SessionRecord &record);

/// The same for a session that is stored already, written in place where no length changes: false,
/// with nothing written, when its file has gone. A session that another request ends meanwhile
/// stays ended, and who reads meanwhile reads the old record or the new one. False, too, when a
/// lock was not to be had in `patience`.
bool updateSessionRecord(std::string_view id, const SessionRecord &record,
                         std::chrono::milliseconds patience = session_patience);

/// Held while a session is removed or replaced, so that neither happens in the middle of the
/// other; let go of with the descriptor. None when there is no folder of sessions, or the lock was
/// not to be had in `patience`.
UniqueFd lockSessions(std::chrono::milliseconds patience = session_patience);

/// Removes the session's file, if there is one; without the lock when that was not to be had in
/// `patience`: a session that is to end does.
void removeSessionRecord(std::string_view id,
                         std::chrono::milliseconds patience = session_patience);

/// Ends all sessions of a user but that of the id `except`.
void removeSessionsOf(std::string_view username, std::string_view except);

/// Ends the oldest sessions of a logged-in user, so that `most` are left; never that of the id
/// `newest`. Logins that are not finished do not count: anybody can begin one.
void limitSessionsOf(std::string_view username, std::size_t most, std::string_view newest);

} // namespace zandorin
