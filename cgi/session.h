#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin {

class Cgi;
struct SessionActivity;

/// One web login. Passwords are never checked here: a helper process (/bin/pam-client) holds the
/// authentication conversation and is talked to over a local socket, the session file keeps what
/// must outlive this request. See docs/auth-protocol.md.
class Session {
  public:
    /// States of the authentication conversation.
    enum State : std::int32_t {
        state_new = 0,
        state_id_received = 1,
        state_challenge = 2,
        state_reply_sent = 3,
        state_helper_failed = 6,
        state_authenticated = 7,
        state_rejected = 8,
    };

    /// Whether the helper of a login that is not finished is asked how it goes, which takes as long
    /// as it does (at most 30 seconds of silence), or only looked for.
    enum class Helper { asked, lookedFor };

    /// The session that the request's cookies name, if any; clears expired sessions and refreshes
    /// this one when it refreshes itself.
    explicit Session(Helper helper = Helper::asked);
    /// The session of that id ("" for none). With clearOld it is this request's own, as above;
    /// without, it is somebody's that is only kept in order: it keeps its address lines, its helper
    /// is only looked for, and nobody waits for its lock.
    Session(const std::string &id, bool clearOld);
    /// A new login: starts the helper and sends it both texts. Not valid when that failed.
    Session(const std::string &username, const std::string &password, int lifetimeMinutes,
            bool autorefresh, bool legacyIds);

    /// Exists, was loaded or created, and has not expired.
    bool isValid() const { return valid_; }
    const std::string &sessionId() const { return sessionId_; }
    /// "" when there is none.
    const std::string &username() const { return username_; }
    /// The helper's last challenge, as it sent it; to be escaped where it is shown.
    std::string getPrompt() const;
    std::int32_t authStatus() const { return authState_; }
    /// The conversation is over, whatever its result.
    bool authFinalised() const;
    /// The conversation came to its end in this request, whatever its result.
    bool authConcluded() const { return concluded_; }
    /// The user is logged in.
    bool authSuccess() const { return authState_ == state_authenticated && valid_; }
    std::string authStatusString() const;

    /// Answers a pending challenge; true when none was pending.
    bool setReply(const std::string &text);
    /// One more round with the helper; false when it failed.
    bool continueSession();
    /// The response's header line that hands the id to the browser.
    std::string cookieLine() const;
    /// Puts the cookie line on the response, when there is an id.
    void setSessionCookie(Cgi &cgi) const;
    /// Removes the session's file, ends its helper, and makes it invalid. What the file names as
    /// its helper gets a signal only when it listens where a helper does: by now the process id may
    /// be anybody's. A helper that does not listen yet ends by itself.
    void deleteSession();

    /// Session ids in the request's cookies, in the order they were sent.
    static std::vector<std::string> getSessionCookies();
    /// True when a cookie of the request names a session whose user is logged in. Nothing is
    /// refreshed or cleared: it is asked before the request is read.
    static bool isLoggedIn();
    /// Loads every stored session once: expired ones are deleted, those that refresh themselves
    /// get a new expiry, whoever they belong to. The one called `except` is left alone.
    /// Of many sessions it loads some, each in its turn, and keeps the others alive all the same
    /// (see SessionActivity); all are loaded when one may have ended.
    static void clearOldSessions(const std::string &except = "");

  private:
    /// How long this request waits for the session's locks.
    std::chrono::milliseconds patience() const;
    static void clearCrowd(std::vector<std::string> ids, const std::string &except,
                           const std::optional<SessionActivity> &before, std::int64_t time);
    bool loadSession(const std::vector<std::string> &ids);
    bool saveSession();
    /// Extends and saves a valid session that refreshes itself; a failed login is not kept alive.
    void refresh();
    bool initNewSession(const std::string &password);
    bool processMessages(int socket);

    bool valid_ = false;
    std::string sessionId_;
    std::string username_;
    std::int32_t authPid_ = -1;
    std::int32_t expiryTime_ = 0;    ///< seconds since the epoch
    std::int32_t sessionLength_ = 0; ///< minutes
    bool autorefresh_ = false;
    bool legacyIds_ = false;
    bool concluded_ = false;
    Helper helper_ = Helper::asked;
    std::int32_t authState_ = state_new;
    std::string prompt_;
    std::string reply_;
    bool own_ = true;               ///< this request's: its address is written with the session
    std::string sourceIp_;          ///< as stored
    std::string sourcePort_;        ///< as stored
    std::int64_t sessionStart_ = 0; ///< seconds since the epoch, 0 until stored
};

} // namespace zandorin
