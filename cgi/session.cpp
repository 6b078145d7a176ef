#include "cgi/session.h"

#include "cgi/cgi.h"
#include "cgi/session_activity.h"
#include "cgi/session_file.h"
#include "platform/libzdsupport/process.h"
#include "platform/pam-client/protocol.h"
#include "util/environment.h"
#include "util/fd.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/wipe.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <optional>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace zandorin {

namespace {

using auth::Message;

constexpr std::string_view cookie_name = "ZdSessionId";
/// Stands in a log record for what would unlock an account or a session.
constexpr std::string_view placeholder = "********";
constexpr int connect_attempts = 5;
constexpr useconds_t connect_pause_us = 200000;
/// A helper that is silent for longer has failed. Seconds.
constexpr int helper_patience = 30;
/// So many sessions are looked at in each request; of more, each is in its turn.
constexpr std::size_t sessions_per_request = 32;

std::int64_t now() {
    return std::time(nullptr);
}

/// Seconds since the epoch, `minutes` from now; the last second there is when that is too far.
std::int32_t expiryAfter(std::int32_t minutes) {
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(now() + 60 * static_cast<std::int64_t>(minutes), 0,
                                 std::numeric_limits<std::int32_t>::max()));
}

/// Starts the helper; its process id, or -1.
pid_t spawnAuthHelper(bool legacyIds) {
    ZANDORIN_TRACE();
    const std::string program = appliancePath("/bin/pam-client");
    const char *const arguments[] = {program.c_str(), legacyIds ? "-o" : nullptr, nullptr};
    return zandorin_proc_exec_nowait(arguments);
}

UniqueFd openAuthSocket(sockaddr_un &address, std::int32_t pid) {
    if (pid <= 0 || !auth::fillAddress(pid, address))
        return UniqueFd();
    UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (socket && !auth::setTimeout(socket.get(), helper_patience))
        socket.reset();
    return socket;
}

bool connectTo(const UniqueFd &socket, const sockaddr_un &address) {
    return ::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) ==
           0;
}

/// A socket to the helper, which may still be starting.
UniqueFd connectToAuthHelper(std::int32_t pid) {
    ZANDORIN_TRACE();
    sockaddr_un address;
    UniqueFd socket = openAuthSocket(address, pid);
    for (int attempt = 0; socket && attempt < connect_attempts; ++attempt) {
        ::usleep(connect_pause_us);
        if (connectTo(socket, address))
            return socket;
    }
    return UniqueFd();
}

/// True when a helper of that process id listens, however busy it is.
bool helperListens(std::int32_t pid) {
    sockaddr_un address;
    const UniqueFd socket = openAuthSocket(address, pid);
    return socket && connectTo(socket, address);
}

bool sendClientAddress(int socket) {
    const char *address = std::getenv("REMOTE_ADDR");
    return address == nullptr || auth::sendMessage(socket, Message::clientAddress, address);
}

/// `header` with the ids in it hidden; `ids` point into it, in order.
std::string hideIds(std::string_view header, const std::vector<std::string_view> &ids) {
    std::string hidden;
    const char *next = header.data();
    for (const std::string_view id : ids) {
        hidden.append(next, id.data()).append(placeholder);
        next = id.data() + id.size();
    }
    return hidden.append(next, header.data() + header.size());
}

} // namespace

Session::Session(Helper helper) : helper_(helper) {
    ZANDORIN_TRACE();
    logRecord(Priority::debug, "Session::Session()");
    const std::vector<std::string> ids = getSessionCookies();
    if (!ids.empty())
        valid_ = loadSession(ids);
    clearOldSessions(sessionId_);
    refresh();
}

Session::Session(const std::string &id, bool clearOld)
    : helper_(clearOld ? Helper::asked : Helper::lookedFor), own_(clearOld) {
    ZANDORIN_TRACE();
    logRecord(Priority::debug, "Session::Session(string)");
    if (!id.empty())
        valid_ = loadSession({id});
    if (clearOld)
        clearOldSessions(sessionId_);
    refresh();
}

Session::Session(const std::string &username, const std::string &password, int lifetimeMinutes,
                 bool autorefresh, bool legacyIds) {
    ZANDORIN_TRACE();
    clearOldSessions();
    expiryTime_ = expiryAfter(lifetimeMinutes);
    username_ = username;
    sessionLength_ = lifetimeMinutes;
    autorefresh_ = autorefresh;
    legacyIds_ = legacyIds;
    if (initNewSession(password)) {
        saveSession();
        valid_ = true;
    } else {
        authState_ = state_helper_failed;
    }
}

std::chrono::milliseconds Session::patience() const {
    return own_ ? session_patience : std::chrono::milliseconds(0);
}

std::string Session::getPrompt() const {
    ZANDORIN_TRACE();
    logRecord(Priority::info, "Session::getPrompt(): %s", prompt_.c_str());
    return prompt_;
}

bool Session::authFinalised() const {
    return authState_ == state_helper_failed || authState_ == state_authenticated ||
           authState_ == state_rejected;
}

std::string Session::authStatusString() const {
    ZANDORIN_TRACE();
    if (authState_ >= 0 && authState_ <= 5)
        return "challenge-in-progress";
    if (authState_ == state_authenticated)
        return "authenticated";
    return authFinalised() ? "failed" : "unknown";
}

bool Session::setReply(const std::string &text) {
    ZANDORIN_TRACE();
    reply_ = text;
    return authState_ != state_challenge || continueSession();
}

bool Session::continueSession() {
    ZANDORIN_TRACE();
    const UniqueFd socket = connectToAuthHelper(authPid_);
    if (!socket || !sendClientAddress(socket.get()) ||
        !auth::sendMessage(socket.get(), Message::sessionId, sessionId_))
        return false;
    if (!reply_.empty() && authState_ == state_challenge) {
        if (!auth::sendMessage(socket.get(), Message::reply, reply_))
            return false;
        authState_ = state_reply_sent;
        wipe(reply_);
        reply_.clear();
    }
    if (!auth::sendMessage(socket.get(), Message::end) || !processMessages(socket.get()))
        return false;
    saveSession();
    return true;
}

std::string Session::cookieLine() const {
    std::string line = "Set-Cookie: ";
    ((line += cookie_name) += '=') += sessionId_;
    line += "; HttpOnly";
    if (environmentVariable("HTTPS") == "on")
        line += "; Secure";
    return line;
}

void Session::setSessionCookie(Cgi &cgi) const {
    ZANDORIN_TRACE();
    if (isSessionId(sessionId_))
        cgi.setExtraHeader(cookieLine());
}

void Session::deleteSession() {
    ZANDORIN_TRACE();
    removeSessionRecord(sessionId_, patience());
    // 0, 1 and what is below would signal this process's group, init, or everybody.
    if (authPid_ > 1 && helperListens(authPid_))
        ::kill(authPid_, SIGTERM);
    valid_ = false;
}

std::vector<std::string> Session::getSessionCookies() {
    ZANDORIN_TRACE();
    constexpr std::string_view delimiters = ";=\t\r\n ";
    const char *header = std::getenv("HTTP_COOKIE");
    if (header == nullptr)
        return {};
    std::vector<std::string_view> tokens;
    std::vector<std::string_view> ids;
    bool named = false;
    std::string_view rest = header;
    for (;;) {
        rest.remove_prefix(std::min(rest.find_first_not_of(delimiters), rest.size()));
        if (rest.empty())
            break;
        const std::string_view token = rest.substr(0, rest.find_first_of(delimiters));
        rest.remove_prefix(token.size());
        if (named)
            ids.push_back(token);
        tokens.push_back(named ? placeholder : token);
        named = !named && token == cookie_name;
    }
    if (logEnabled(Priority::debug)) {
        logRecord(Priority::debug, "Cookie: %s", hideIds(header, ids).c_str());
        for (const std::string_view token : tokens) {
            logRecord(Priority::debug, "Tok = %s", std::string(token).c_str());
            if (token.data() == placeholder.data())
                logRecord(Priority::debug, "Session id %s found", placeholder.data());
        }
    }
    return {ids.begin(), ids.end()};
}

bool Session::isLoggedIn() {
    constexpr std::size_t most_looked_at = 8;
    std::vector<std::string> ids = getSessionCookies();
    ids.resize(std::min(ids.size(), most_looked_at));
    return std::any_of(ids.begin(), ids.end(), [](const std::string &id) {
        const auto record = readSessionRecord(id);
        return record && record->authState == state_authenticated && record->expiryTime > now();
    });
}

void Session::clearOldSessions(const std::string &except) {
    ZANDORIN_TRACE();
    const std::int64_t time = now();
    const auto activity = SessionActivity::load();
    if (activity && activity->last == time && !activity->mayHaveEnded(time))
        return; // somebody has just done it
    std::vector<std::string> ids = listSessionIds();
    if (ids.size() > sessions_per_request)
        return clearCrowd(std::move(ids), except, activity, time);
    for (const std::string &id : ids)
        if (id != except) {
            const Session other(id, false);
        }
}

void Session::clearCrowd(std::vector<std::string> ids, const std::string &except,
                         const std::optional<SessionActivity> &before, std::int64_t time) {
    const bool all = !before || before->mayHaveEnded(time);
    SessionActivity after = all ? SessionActivity{.since = time} : *before;
    after.last = time;
    if (!all) {
        const auto turn = std::upper_bound(ids.begin(), ids.end(), before->cursor);
        std::rotate(ids.begin(), turn, ids.end());
        ids.resize(sessions_per_request);
        after.cursor = ids.back();
    }
    for (const std::string &id : ids) {
        if (id != except)
            const Session other(id, false);
        const auto record = all ? readSessionRecord(id) : std::nullopt;
        if (record)
            after.admit(*record);
    }
    const UniqueFd lock = lockSessions();
    // Somebody may have logged in meanwhile.
    const auto current = SessionActivity::load();
    if (current && current != before) {
        after.shortest = std::min(after.shortest, current->shortest);
        after.firstEnd = std::min(after.firstEnd, current->firstEnd);
    }
    after.save();
}

bool Session::loadSession(const std::vector<std::string> &ids) {
    ZANDORIN_TRACE();
    std::optional<SessionRecord> record;
    const auto stored = std::find_if(ids.begin(), ids.end(), [&](const std::string &id) {
        record = readSessionRecord(id, patience());
        return record || errno == EBADMSG || errno == EFBIG;
    });
    if (stored == ids.end())
        return false;
    sessionId_ = *stored;
    if (record) {
        username_ = record->username;
        expiryTime_ = record->expiryTime;
        authPid_ = record->authPid;
        authState_ = record->authState;
        sessionLength_ = record->sessionLength;
        autorefresh_ = record->autorefresh;
        sourceIp_ = record->sourceIp;
        sourcePort_ = record->sourcePort;
        sessionStart_ = record->sessionStart;
        if (const auto activity =
                now() > expiryTime_ && autorefresh_ ? SessionActivity::load() : std::nullopt)
            expiryTime_ = activity->expiryOf(*record);
    }
    // The helper of somebody else's unfinished login is only looked for: talking to it would make
    // this request wait for that login, and could write its state over what its owner just saved.
    if (record && isSessionUsername(username_) && now() <= expiryTime_ &&
        (authFinalised() ||
         (helper_ == Helper::asked ? continueSession() : helperListens(authPid_))))
        return true;
    deleteSession();
    return false;
}

bool Session::saveSession() {
    ZANDORIN_TRACE();
    SessionRecord record{
        .username = username_,
        .expiryTime = expiryTime_,
        .authPid = authPid_,
        .authState = authState_,
        .sessionLength = sessionLength_,
        .autorefresh = autorefresh_,
        .sourceIp = own_ ? std::string(environmentVariable("REMOTE_ADDR")) : sourceIp_,
        .sourcePort = own_ ? std::string(environmentVariable("REMOTE_PORT")) : sourcePort_,
        .sessionStart = sessionStart_};
    if (sessionStart_ != 0)
        return updateSessionRecord(sessionId_, record, patience());
    record.sessionStart = sessionStart_ = now();
    const bool written = writeSessionRecord(sessionId_, record);
    const UniqueFd lock = lockSessions();
    if (auto activity = SessionActivity::load()) {
        activity->admit(record);
        activity->save();
    }
    return written;
}

void Session::refresh() {
    const std::int32_t expiry = expiryAfter(sessionLength_);
    const bool failed = authFinalised() && authState_ != state_authenticated;
    if (!valid_ || failed || !autorefresh_ || expiry == expiryTime_)
        return;
    expiryTime_ = expiry;
    saveSession();
}

bool Session::initNewSession(const std::string &password) {
    ZANDORIN_TRACE();
    logRecord(Priority::debug, "Session::initNewSession(%s, %s)", username_.c_str(),
              placeholder.data());
    authPid_ = spawnAuthHelper(legacyIds_);
    if (authPid_ == -1)
        return false;
    const UniqueFd socket = connectToAuthHelper(authPid_);
    return socket && auth::sendMessage(socket.get(), Message::username, username_) &&
           sendClientAddress(socket.get()) &&
           auth::sendMessage(socket.get(), Message::reply, password) &&
           auth::sendMessage(socket.get(), Message::end) && processMessages(socket.get());
}

bool Session::processMessages(int socket) {
    ZANDORIN_TRACE();
    while (const auto type = auth::readType(socket)) {
        switch (static_cast<Message>(*type)) {
        case Message::sessionId: {
            const auto id = auth::readText(socket);
            if (!id || !isSessionId(*id))
                return false;
            sessionId_ = *id;
            authState_ = state_id_received;
            break;
        }
        case Message::challenge: {
            auto prompt = auth::readText(socket);
            if (!prompt)
                return false;
            prompt_ = std::move(*prompt);
            authState_ = state_challenge;
            break;
        }
        case Message::authenticated:
            authState_ = isSessionUsername(username_) ? state_authenticated : state_rejected;
            break;
        case Message::rejected:
            authState_ = state_rejected;
            break;
        case Message::helperError:
            authState_ = state_helper_failed;
            break;
        case Message::end:
            concluded_ = authFinalised();
            return true;
        default:
            break;
        }
    }
    return false;
}

} // namespace zandorin
