#include "services/autoresponse/ups.h"

#include "platform/ports/listen_ports.h"
#include "services/sockets.h"
#include "util/strings.h"

#include <array>
#include <cerrno>

#include <sys/socket.h>

namespace zandorin::responder {

namespace {

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
    const UniqueFd socket =
        services::connectTcp(localAddress(), listenPort("upsd"), std::chrono::seconds(1));
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
