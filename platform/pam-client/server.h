#pragma once

#include "platform/pam-client/protocol.h"
#include "platform/pam-client/secret.h"
#include "util/fd.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace zandorin::auth {

/// One whole request of a client, and the connection that waits for its answer.
struct Request {
    UniqueFd connection;
    std::optional<std::string> username;
    std::optional<std::string> sessionId;
    std::string clientAddress; ///< "" when not given
    std::optional<Secret> reply;
};

/// The helper's socket, /var/run/auth-<pid>. Driven as: open(), then next() and answer() in turn
/// until next() says that it is time to end. Whatever a client sends or leaves out costs at most
/// its own connection. The socket is removed with the object.
class Server {
  public:
    /// `id` is what later requests must show.
    explicit Server(std::string id) : id_(std::move(id)) {}
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;
    ~Server();

    /// Makes the socket, in place of one that a dead process left behind. False when that failed;
    /// errno tells why.
    bool open();
    /// Waits for the next acceptable request: the first holds a user name and a reply (the
    /// password), every later one the session id. Others are answered with helperError. None when
    /// it is time to end: nobody came in 30 seconds, the session's file did not appear within 10
    /// seconds of the first answer, or it has gone again.
    std::optional<Request> next();

    /// Answers the session id and the state, with the prompt when it is a challenge, and closes the
    /// connection. A client that has gone is no failure.
    void answer(Request &request, Message state, std::string_view prompt = {});

  private:
    using Clock = std::chrono::steady_clock;

    bool timeToEnd();
    std::optional<Request> accept() const;
    bool acceptable(const Request &request) const;

    std::string id_;
    UniqueFd listener_;
    bool begun_ = false;                     ///< the first request was taken
    bool answered_ = false;                  ///< the first answer was given
    bool fileSeen_ = false;                  ///< the session's file was there
    Clock::time_point since_ = Clock::now(); ///< the start, then the first answer
};

} // namespace zandorin::auth
