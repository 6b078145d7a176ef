#include "platform/ports/port_status.h"

#include "platform/ports/port_frames.h"
#include "util/fd.h"
#include "util/paths.h"
#include "util/strings.h"
#include "util/unix_address.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <sys/socket.h>
#include <sys/time.h>

namespace zandorin {

namespace {

/// A text as one field.
std::string field(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\t' || c == '\n'; }, ' ');
    return text;
}

std::string field(const std::optional<std::uint64_t> &count) {
    return count ? std::to_string(*count) : "";
}

std::vector<std::string> fieldsOf(std::string_view line) {
    std::vector<std::string> fields;
    for (;;) {
        const auto end = line.find('\t');
        fields.emplace_back(line.substr(0, end));
        if (end == std::string_view::npos)
            return fields;
        line.remove_prefix(end + 1);
    }
}

std::optional<std::uint64_t> countIn(const std::string &text) {
    const auto count = parseWhole(text);
    return count && *count >= 0 ? std::optional(static_cast<std::uint64_t>(*count)) : std::nullopt;
}

} // namespace

UniqueFd connectToPortService() {
    UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto address = unixAddress(appliancePath("/var/run/ports.sock"));
    if (!socket || !address ||
        ::connect(socket.get(), reinterpret_cast<const sockaddr *>(&*address), sizeof *address) !=
            0)
        return {};
    return socket;
}

std::optional<std::string> askPortService(char type, const std::string &payload) {
    const UniqueFd socket = connectToPortService();
    const timeval patience = {.tv_sec = 1, .tv_usec = 0};
    for (const int direction : {SO_RCVTIMEO, SO_SNDTIMEO})
        ::setsockopt(socket.get(), SOL_SOCKET, direction, &patience, sizeof patience);
    std::string request;
    appendFrame(request, type, payload);
    if (!socket || ::send(socket.get(), request.data(), request.size(), MSG_NOSIGNAL) !=
                       static_cast<ssize_t>(request.size()))
        return std::nullopt;
    FrameReader reader;
    std::string answer;
    bool isAnswered = false;
    std::array<char, 16384> buffer = {};
    for (;;) {
        const ssize_t got = ::recv(socket.get(), buffer.data(), buffer.size(), 0);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return got == 0 && isAnswered ? std::optional(std::move(answer)) : std::nullopt;
        reader.add({buffer.data(), static_cast<std::size_t>(got)});
        while (const auto frame = reader.next())
            if (frame->type == 'J') {
                answer += frame->payload;
                isAnswered = true;
            }
    }
}

std::string writePortStates(const std::vector<PortState> &states) {
    std::string text;
    for (const PortState &port : states) {
        text += "port\t" + std::to_string(port.number) + '\t' + field(port.state) + '\t' +
                field(port.received) + '\t' + field(port.sent) + '\t' + field(port.frameErrors) +
                '\t' + field(port.parityErrors) + '\t' + field(port.overruns) + '\t' +
                field(port.signals) + '\t' + field(port.last) + '\n';
        for (const PortUser &user : port.users)
            text += "user\t" + field(user.user) + '\t' + (user.writes ? "w" : "r") + '\t' +
                    std::to_string(user.since) + '\t' + std::to_string(user.idle) + '\t' +
                    field(user.from) + '\t' + field(user.via) + '\n';
    }
    return text;
}

std::vector<PortState> readPortStates(std::string_view text) {
    std::vector<PortState> states;
    while (!text.empty()) {
        const auto end = text.find('\n');
        const auto fields = fieldsOf(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (fields.size() == 10 && fields[0] == "port") {
            states.push_back({.number = static_cast<unsigned>(countIn(fields[1]).value_or(0)),
                              .state = fields[2],
                              .received = countIn(fields[3]),
                              .sent = countIn(fields[4]),
                              .frameErrors = countIn(fields[5]),
                              .parityErrors = countIn(fields[6]),
                              .overruns = countIn(fields[7]),
                              .signals = fields[8],
                              .last = fields[9]});
        } else if (fields.size() == 7 && fields[0] == "user" && !states.empty()) {
            states.back().users.push_back({.user = fields[1],
                                           .writes = fields[2] == "w",
                                           .since = parseWhole(fields[3]).value_or(0),
                                           .idle = parseWhole(fields[4]).value_or(0),
                                           .from = fields[5],
                                           .via = fields[6]});
        }
    }
    return states;
}

const PortState *stateOf(const std::optional<std::vector<PortState>> &states, unsigned number) {
    if (!states)
        return nullptr;
    const auto found = std::find_if(states->begin(), states->end(),
                                    [&](const PortState &state) { return state.number == number; });
    return found == states->end() ? nullptr : &*found;
}

std::optional<std::vector<PortState>> portStates() {
    const auto answer = askPortService('Q', "");
    return answer ? std::optional(readPortStates(*answer)) : std::nullopt;
}

bool disconnectPortUser(const std::string &user, unsigned port) {
    return askPortService('X', user + "@port" + std::to_string(port)).value_or("") == "ok";
}

bool messagePortUser(const std::string &user, unsigned port, const std::string &text) {
    return askPortService('M', user + "@port" + std::to_string(port) + "\n" + text).value_or("") ==
           "ok";
}

} // namespace zandorin
