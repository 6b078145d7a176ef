// The session's end of a conversation: whatever a helper answers, the session's state is what a
// plain reading of the messages says, and what is kept is what it says.

#include "fuzz/support/support.h"

#include "cgi/session.h"
#include "cgi/session_file.h"

#include <map>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zandorin::fuzz {

using Type = auth::Message;

std::string answer;  // of the helper
UniqueFd helpersEnd; // of the last conversation

/// A helper that has its answer ready.
extern "C" int connect(int socket, const sockaddr *, socklen_t) {
    int ends[2];
    require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
    const UniqueFd near(ends[0]);
    helpersEnd.reset(ends[1]);
    put(ends[1], answer);
    ::shutdown(ends[1], SHUT_WR);
    return ::dup3(near.get(), socket, O_CLOEXEC) == socket ? 0 : -1;
}

/// What a session is after the messages of a helper.
struct Plain {
    bool whole = false;
    std::string id = "abc";
    std::int32_t state = Session::state_challenge;
    std::string prompt = "";

    void read(std::string_view bytes) {
        static const std::map<Type, Session::State> states = {
            {Type::sessionId, Session::state_id_received},
            {Type::challenge, Session::state_challenge},
            {Type::authenticated, Session::state_authenticated},
            {Type::rejected, Session::state_rejected},
            {Type::helperError, Session::state_helper_failed}};
        whole = false;
        while (const auto message = takeMessage(bytes, {Type::sessionId, Type::challenge})) {
            const auto &[type, text] = *message;
            whole = type == Type::end;
            if (whole || (type == Type::sessionId && !isSessionId(*text)))
                return;
            if (type == Type::sessionId)
                id = *text;
            if (type == Type::challenge)
                prompt = *text;
            if (states.contains(type))
                state = states.at(type);
        }
    }
};

void requireState(const Session &session, const Plain &plain) {
    require(session.sessionId() == plain.id && session.authStatus() == plain.state &&
            session.getPrompt() == plain.prompt);
    require(session.authSuccess() ==
            (session.isValid() && plain.state == Session::state_authenticated));
    require(session.authFinalised() == (plain.state >= Session::state_helper_failed));
    require(session.authStatusString() ==
            (session.authSuccess() || plain.state == Session::state_authenticated ? "authenticated"
             : session.authFinalised()                                            ? "failed"
                                       : "challenge-in-progress"));
}

void run(std::string_view input) {
    answer = input.substr(0, auth::max_text);
    put("/var/run/.sessions/session-abc",
        "username = root\nexpiry_time = 2147483647\nauth_pid = 4711\nauth_state = 2\n"
        "session_len = 20\nautorefresh = false\nsession_start = 1700000000\n");
    endedProcess = 0;
    Session session("abc", true);
    Plain plain;
    plain.read(answer);
    requireState(session, plain);
    require(session.isValid() == plain.whole && (endedProcess == 4711) == !plain.whole);
    if (!plain.whole)
        return;
    if (plain.id == "abc")
        require(readSessionRecord("abc").value().authState == plain.state);

    if (plain.state == Session::state_challenge) {
        plain.state = Session::state_reply_sent;
        plain.read(answer);
        require(session.setReply("open sesame") == plain.whole);
        std::string sent(200, '\0');
        sent.resize(static_cast<std::size_t>(::recv(helpersEnd.get(), sent.data(), 200, 0)));
        require(sent.size() == 200 || sent.ends_with("open sesame\x7f"));
        requireState(session, plain);
    }
    session.deleteSession();
    require(!session.isValid() && endedProcess == 4711);
}

} // namespace zandorin::fuzz
