#include "services/autoresponse/ups.h"

#include "platform/ports/listen_ports.h"
#include "util/fd.h"
#include "util/strings.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace zandorin::responder {

namespace {

UniqueFd connectToUpsd() {
    UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval patience = {.tv_sec = 1, .tv_usec = 0};
    for (const int direction : {SO_RCVTIMEO, SO_SNDTIMEO})
        ::setsockopt(socket.get(), SOL_SOCKET, direction, &patience, sizeof patience);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(listenPort("upsd")));
    if (::inet_pton(AF_INET, localAddress().c_str(), &address.sin_addr) != 1 ||
        ::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return {};
    return socket;
}

/// The text between the first and the last quote, without its escapes.
std::string unquoted(std::string_view line) {
    const auto first = line.find('"');
    const auto last = line.rfind('"');
    std::string text;
    for (auto at = first + 1; first != last && at < last; ++at) {
        if (line[at] == '\\' && at + 1 < last)
            ++at;
        text += line[at];
    }
    return text;
}

} // namespace

UpsAnswer askUps(std::string_view ups, std::string_view variable) {
    const UniqueFd socket = connectToUpsd();
    if (!socket)
        return {.problem = "upsd does not answer"};
    const std::string request = concat({"GET VAR ", ups, " ", variable, "\n"});
    if (::send(socket.get(), request.data(), request.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(request.size()))
        return {.problem = "upsd does not answer"};
    std::string answer;
    std::array<char, 512> buffer;
    constexpr std::size_t most = 1024;
    while (answer.find('\n') == std::string::npos && answer.size() < most) {
        const ssize_t got = ::recv(socket.get(), buffer.data(), buffer.size(), 0);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return {.problem = "upsd does not answer"};
        answer.append(buffer.data(), static_cast<std::size_t>(got));
    }
    const std::string_view line = trim(std::string_view(answer).substr(0, answer.find('\n')));
    if (line.starts_with("VAR "))
        return {.value = unquoted(line)};
    return {.problem = "upsd says " + std::string(line)};
}

} // namespace zandorin::responder
