#include "platform/pam-client/server.h"

#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zandorin::auth {

namespace {

constexpr int client_patience = 3; ///< seconds of silence in the middle of a request
constexpr int most_messages = 16;  ///< of one request
constexpr int check_pause_ms = 1000;
constexpr std::chrono::seconds first_request_limit{30};
constexpr std::chrono::seconds session_file_limit{10};

/// Equal texts; how long it takes tells nothing but their lengths.
bool equalSecrets(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    volatile unsigned difference = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        difference = difference | static_cast<unsigned char>(a[i] ^ b[i]);
    return difference == 0;
}

/// The socket's mode keeps others out already, where the file system heeds it.
bool isTrusted(int connection) {
    ucred peer = {};
    socklen_t size = sizeof peer;
    return ::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           (peer.uid == ::geteuid() || peer.uid == 0);
}

/// A text that PAM can be given: without a zero byte, which would cut it short there.
bool takeText(int connection, std::string &text) {
    auto received = readText(connection);
    if (!received || received->find('\0') != std::string::npos)
        return false;
    text = std::move(*received);
    return true;
}

/// Reads one request to its end; false when it is malformed or stalls.
bool receive(Request &request) {
    const int connection = request.connection.get();
    for (int count = 0; count < most_messages; ++count) {
        const auto type = readType(connection);
        if (!type)
            return false;
        switch (static_cast<Message>(*type)) {
        case Message::username:
            if (!takeText(connection, request.username.emplace()))
                return false;
            break;
        case Message::sessionId:
            if (!takeText(connection, request.sessionId.emplace()))
                return false;
            break;
        case Message::clientAddress:
            if (!takeText(connection, request.clientAddress))
                return false;
            break;
        case Message::reply: {
            auto text = readText(connection);
            if (!text)
                return false;
            request.reply = Secret(std::move(*text));
            if (request.reply->text().find('\0') != std::string::npos)
                return false;
            break;
        }
        case Message::end:
            return true;
        default:
            return false;
        }
    }
    return false;
}

} // namespace

Server::~Server() {
    if (listener_)
        ::unlink(socketPath(::getpid()).c_str());
}

bool Server::open() {
    sockaddr_un address;
    if (!fillAddress(::getpid(), address))
        return false;
    const std::string path = socketPath(::getpid());
    ::unlink(path.c_str());
    UniqueFd listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const mode_t before = ::umask(0177);
    const bool bound =
        listener &&
        ::bind(listener.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    ::umask(before);
    if (!bound)
        return false;
    listener_ = std::move(listener);
    return ::listen(listener_.get(), SOMAXCONN) == 0;
}

bool Server::timeToEnd() {
    if (!begun_)
        return Clock::now() - since_ > first_request_limit;
    const bool stored = ::access(sessionFilePath(id_).c_str(), F_OK) == 0;
    fileSeen_ = fileSeen_ || stored;
    return !stored && (fileSeen_ || Clock::now() - since_ > session_file_limit);
}

std::optional<Request> Server::accept() const {
    std::optional<Request> request(std::in_place);
    request->connection.reset(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    const int connection = request->connection.get();
    if (connection < 0 || !isTrusted(connection) || !setTimeout(connection, client_patience) ||
        !receive(*request))
        request.reset();
    return request;
}

bool Server::acceptable(const Request &request) const {
    if (!begun_)
        return request.username && request.reply;
    return request.sessionId && equalSecrets(*request.sessionId, id_);
}

std::optional<Request> Server::next() {
    while (!timeToEnd()) {
        pollfd waiting = {listener_.get(), POLLIN, 0};
        if (::poll(&waiting, 1, check_pause_ms) <= 0)
            continue;
        std::optional<Request> request = accept();
        if (!request)
            continue;
        if (acceptable(*request)) {
            begun_ = true;
            return request;
        }
        if (sendMessage(request->connection.get(), Message::helperError))
            sendMessage(request->connection.get(), Message::end);
    }
    return std::nullopt;
}

void Server::answer(Request &request, Message state, std::string_view prompt) {
    const int connection = request.connection.get();
    if (sendMessage(connection, Message::sessionId, id_) &&
        (state == Message::challenge ? sendMessage(connection, state, prompt.substr(0, max_text))
                                     : sendMessage(connection, state)))
        sendMessage(connection, Message::end);
    request.connection.reset();
    if (!std::exchange(answered_, true))
        since_ = Clock::now();
}

} // namespace zandorin::auth
