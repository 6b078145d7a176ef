#include "cgi/session_file.h"

#include "cgi/session.h"
#include "platform/pam-client/protocol.h"
#include "util/fd.h"
#include "util/files.h"
#include "util/strings.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zandorin {

namespace {

constexpr std::string_view file_prefix = "session-";
constexpr std::size_t file_limit = std::size_t{64} * 1024;

/// Takes the next run of characters that are none of the delimiters off `text`, as strtok does.
std::string_view takeWord(std::string_view &text) {
    constexpr std::string_view delimiters = "= ";
    text.remove_prefix(std::min(text.find_first_not_of(delimiters), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(delimiters));
    text.remove_prefix(word.size());
    return word;
}

/// atoi, but a number out of range is the nearest one in range.
template <typename Number> Number toNumber(std::string_view word) {
    using Limits = std::numeric_limits<Number>;
    return static_cast<Number>(
        std::clamp<std::int64_t>(leadingNumber(word), Limits::min(), Limits::max()));
}

std::string format(const SessionRecord &record) {
    std::string text;
    const auto line = [&text](const char *key, const std::string &value) {
        ((text += key) += " = ") += value;
        text += '\n';
    };
    line("username", record.username);
    line("expiry_time", std::to_string(record.expiryTime));
    line("auth_pid", std::to_string(record.authPid));
    line("auth_state", std::to_string(record.authState));
    line("session_len", std::to_string(record.sessionLength));
    line("autorefresh", record.autorefresh ? "true" : "false");
    line("src_ip", record.sourceIp);
    line("src_port", record.sourcePort);
    line("session_start", std::to_string(record.sessionStart));
    return text;
}

/// Nothing in it would smuggle in a line.
bool isStorable(const SessionRecord &record) {
    return !hasControlCharacter(record.username) && !hasControlCharacter(record.sourceIp) &&
           !hasControlCharacter(record.sourcePort);
}

/// Writes over a file that is as long already. A refresh changes no length but seldom, and every
/// request may refresh: a new file and a rename take many times as long, on ext4 above all. Of a
/// file that is being removed only what has no name any more is written.
bool writeOver(const std::string &path, std::string_view text, std::chrono::milliseconds patience) {
    const UniqueFd file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    struct stat status = {};
    return file && lockWithin(file.get(), LOCK_EX, patience) && ::fstat(file.get(), &status) == 0 &&
           status.st_size == static_cast<off_t>(text.size()) &&
           ::pwrite(file.get(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
}

} // namespace

std::string sessionFolder() {
    const std::string path = auth::sessionFilePath("");
    return path.substr(0, path.rfind('/'));
}

bool isSessionId(std::string_view id) {
    return !id.empty() && std::all_of(id.begin(), id.end(), [](char c) {
        return isAlphanumeric(c) || c == '-' || c == '_';
    });
}

std::string sessionPath(std::string_view id) {
    return isSessionId(id) ? auth::sessionFilePath(id) : std::string();
}

std::vector<std::string> listSessionIds() {
    std::vector<std::string> ids;
    for (const std::string &name : namesIn(sessionFolder(), file_prefix)) {
        std::string id = name.substr(file_prefix.size());
        if (isSessionId(id))
            ids.push_back(std::move(id));
    }
    return ids;
}

bool isSessionUsername(std::string_view name) {
    return !name.empty() && name.front() != '(' &&
           name.find_first_of("= ") == std::string_view::npos && !hasControlCharacter(name);
}

std::optional<SessionRecord> readSessionRecord(std::string_view id,
                                               std::chrono::milliseconds patience) {
    const UniqueFd file(::open(sessionPath(id).c_str(), O_RDONLY | O_CLOEXEC));
    if (!file)
        return std::nullopt;
    // Not while somebody writes over it.
    if (!lockWithin(file.get(), LOCK_SH, patience) && patience.count() == 0)
        return std::nullopt;
    const auto contents = readFile(file.get(), file_limit);
    if (!contents)
        return std::nullopt;

    SessionRecord record;
    bool hasExpiry = false;
    bool hasState = false;
    std::string_view rest = *contents;
    while (!rest.empty()) {
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const std::string_view key = takeWord(line);
        const std::string_view value = takeWord(line);
        if (value.empty())
            continue;
        if (key == "username") {
            record.username = value;
        } else if (key == "expiry_time") {
            record.expiryTime = toNumber<std::int32_t>(value);
            hasExpiry = true;
        } else if (key == "auth_pid") {
            record.authPid = toNumber<std::int32_t>(value);
        } else if (key == "auth_state") {
            record.authState = toNumber<std::int32_t>(value);
            hasState = true;
        } else if (key == "session_len") {
            record.sessionLength = toNumber<std::int32_t>(value);
        } else if (key == "autorefresh") {
            record.autorefresh = value == "true";
        } else if (key == "src_ip") {
            record.sourceIp = value;
        } else if (key == "src_port") {
            record.sourcePort = value;
        } else if (key == "session_start") {
            record.sessionStart = toNumber<std::int64_t>(value);
        }
    }
    if (record.username.empty() || !hasExpiry || !hasState) {
        errno = EBADMSG;
        return std::nullopt;
    }
    return record;
}

bool writeSessionRecord(std::string_view id, const SessionRecord &record) {
    const std::string path = sessionPath(id);
    if (path.empty() || !isStorable(record))
        return false;
    const std::string text = format(record);
    if (replaceFile(path, text, 0600, Durable::no))
        return true;
    return errno == ENOENT && makeFolder(sessionFolder(), 0700) &&
           replaceFile(path, text, 0600, Durable::no);
}

UniqueFd lockSessions(std::chrono::milliseconds patience) {
    UniqueFd folder(::open(sessionFolder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder && !lockWithin(folder.get(), LOCK_EX, patience))
        folder.reset();
    return folder;
}

bool updateSessionRecord(std::string_view id, const SessionRecord &record,
                         std::chrono::milliseconds patience) {
    const std::string path = sessionPath(id);
    if (path.empty() || !isStorable(record))
        return false;
    const std::string text = format(record);
    if (writeOver(path, text, patience))
        return true;
    const UniqueFd lock = lockSessions(patience);
    return lock && ::access(path.c_str(), F_OK) == 0 && replaceFile(path, text, 0600, Durable::no);
}

void removeSessionRecord(std::string_view id, std::chrono::milliseconds patience) {
    if (!isSessionId(id))
        return;
    const UniqueFd lock = lockSessions(patience);
    ::unlink(sessionPath(id).c_str());
}

void removeSessionsOf(std::string_view username, std::string_view except) {
    for (const std::string &id : listSessionIds()) {
        const auto session = id == except ? std::nullopt : readSessionRecord(id);
        if (session && session->username == username)
            removeSessionRecord(id);
    }
}

void limitSessionsOf(std::string_view username, std::size_t most, std::string_view newest) {
    std::vector<std::pair<std::int64_t, std::string>> others; // oldest first, once sorted
    for (std::string &id : listSessionIds()) {
        const auto session = id == newest ? std::nullopt : readSessionRecord(id);
        if (session && session->username == username &&
            session->authState == Session::state_authenticated)
            others.emplace_back(session->sessionStart, std::move(id));
    }
    std::sort(others.begin(), others.end());
    for (std::size_t i = 0; i + std::max<std::size_t>(most, 1) <= others.size(); ++i)
        removeSessionRecord(others[i].second);
}

} // namespace zandorin
