#include "platform/pam-client/protocol.h"

#include "util/paths.h"

#include <cerrno>
#include <cstring>

#include <sys/socket.h>
#include <sys/time.h>

namespace zandorin::auth {

namespace {

bool sendAll(int socket, const void *data, std::size_t size) {
    const char *next = static_cast<const char *>(data);
    while (size > 0) {
        const ssize_t sent = ::send(socket, next, size, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent <= 0)
            return false;
        next += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}

bool receiveAll(int socket, void *data, std::size_t size) {
    char *next = static_cast<char *>(data);
    while (size > 0) {
        const ssize_t got = ::recv(socket, next, size, 0);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        next += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

} // namespace

std::string socketPath(int pid) {
    return appliancePath("/var/run/auth-" + std::to_string(pid));
}

std::string sessionFilePath(std::string_view id) {
    std::string path = appliancePath("/var/run/.sessions/session-");
    path += id;
    return path;
}

bool fillAddress(int pid, sockaddr_un &address) {
    const std::string path = socketPath(pid);
    address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return false;
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    return true;
}

bool sendMessage(int socket, Message type) {
    return sendAll(socket, &type, sizeof type);
}

bool sendMessage(int socket, Message type, std::string_view text) {
    if (text.size() > max_text)
        return false;
    const auto length = static_cast<std::uint32_t>(text.size());
    return sendMessage(socket, type) && sendAll(socket, &length, sizeof length) &&
           sendAll(socket, text.data(), text.size());
}

std::optional<std::uint8_t> readType(int socket) {
    std::uint8_t type = 0;
    if (!receiveAll(socket, &type, sizeof type))
        return std::nullopt;
    return type;
}

std::optional<std::string> readText(int socket) {
    std::uint32_t length = 0;
    if (!receiveAll(socket, &length, sizeof length) || length > max_text)
        return std::nullopt;
    // Made in place: a short text that is moved would leave its bytes behind, and it may be secret.
    std::optional<std::string> text(std::in_place, length, '\0');
    if (!receiveAll(socket, text->data(), length))
        text.reset();
    return text;
}

bool setTimeout(int socket, int seconds) {
    timeval limit = {};
    limit.tv_sec = seconds;
    return ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) == 0 &&
           ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit) == 0;
}

} // namespace zandorin::auth
