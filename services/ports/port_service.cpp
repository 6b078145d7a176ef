#include "services/ports/port_service.h"

#include "platform/ports/terminal_ticket.h"
#include "services/ports/states.h"
#include "util/json.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"
#include "util/unix_address.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <sys/socket.h>
#include <sys/stat.h>

namespace zandorin::ports {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t most_connections = 256;
constexpr std::size_t most_terminals = 16; ///< of one user
constexpr std::size_t most_output = std::size_t{256} * 1024;
constexpr auto first_frame_patience = 10s;
constexpr auto reading_patience = 60s;
constexpr auto state_interval = 5s; ///< while terminals are open

volatile std::sig_atomic_t is_stopping = 0;

UniqueFd listenAt(const char *path, mode_t mode) {
    const std::string file = appliancePath(path);
    UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const auto address = unixAddress(file);
    if (!address)
        return {};
    ::unlink(file.c_str());
    const mode_t before = ::umask(0777 & ~mode);
    const bool isBound =
        socket &&
        ::bind(socket.get(), reinterpret_cast<const sockaddr *>(&*address), sizeof *address) == 0;
    ::umask(before);
    return isBound && ::listen(socket.get(), 64) == 0 ? std::move(socket) : UniqueFd();
}

std::string sentence(std::string_view reason, bool again) {
    return concat({"{\"reason\":", jsonString(reason), ",\"again\":", again ? "true}" : "false}"});
}

unsigned short numberAt(std::string_view payload, std::size_t at) {
    return static_cast<unsigned short>(static_cast<unsigned char>(payload[at]) << 8U |
                                       static_cast<unsigned char>(payload[at + 1]));
}

} // namespace

void PortService::stop() {
    is_stopping = 1;
}

bool PortService::open() {
    constexpr mode_t everybody = 0666; // who it is says the kernel
    constexpr mode_t own = 0600;
    browsers_ = listenAt("/var/run/terminal.sock", own);
    locals_ = listenAt("/var/run/ports.sock", everybody);
    return browsers_ && locals_;
}

std::vector<pollfd> PortService::waitedFor() const {
    const auto watch = [](int fd, bool reads, bool writes) {
        return pollfd{.fd = reads || writes ? fd : -1,
                      .events = static_cast<short>((reads ? POLLIN : 0) | (writes ? POLLOUT : 0)),
                      .revents = 0};
    };
    const bool hasRoom = connections_.size() < most_connections;
    std::vector<pollfd> fds = {watch(browsers_.get(), hasRoom, false),
                               watch(locals_.get(), hasRoom, false),
                               watch(asking_.fd(), asking_.isRunning(), false)};
    for (const Connection &each : connections_) {
        fds.push_back(watch(each.socket.get(), !each.isEnding, !each.out.empty()));
        const Terminal *terminal = each.isEnding ? nullptr : each.terminal.get();
        fds.push_back(terminal == nullptr
                          ? watch(-1, false, false)
                          : watch(terminal->child().fd(), each.out.size() < most_output,
                                  terminal->hasToWrite()));
    }
    return fds;
}

void PortService::run() {
    constexpr int second = 1000;
    while (is_stopping == 0) {
        std::vector<pollfd> fds = waitedFor();
        const int ready = ::poll(fds.data(), fds.size(), second);
        takeRemains();
        if (ready < 0)
            for (pollfd &fd : fds)
                fd.revents = 0;
        auto fd = fds.begin() + 3;
        for (Connection &each : connections_) {
            const short socket = (fd++)->revents;
            const short terminal = (fd++)->revents;
            if ((socket & (POLLIN | POLLHUP | POLLERR)) != 0)
                receive(each);
            if (each.terminal && !each.isEnding && (terminal & POLLOUT) != 0)
                each.terminal->write();
            if (each.terminal && !each.isEnding && (terminal & (POLLIN | POLLHUP | POLLERR)) != 0)
                readTerminal(each);
        }
        if (fds[2].revents != 0)
            readStates();
        for (; fd != fds.end(); ++fd)
            if (fd->revents != 0) {
                readCommands();
                break;
            }
        if (fds[0].revents != 0)
            accept(browsers_, false);
        if (fds[1].revents != 0)
            accept(locals_, true);
        if (Clock::now() - looked_ >= 1s)
            look();
        for (Connection &each : connections_)
            send(each);
        connections_.remove_if([](const Connection &each) {
            return !each.socket || (each.isEnding && each.out.empty());
        });
    }
    connections_.clear();
}

void PortService::accept(const UniqueFd &listener, bool isLocal) {
    UniqueFd socket(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!socket)
        return;
    ucred peer = {};
    socklen_t length = sizeof peer;
    if (isLocal && ::getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0)
        return;
    connections_.push_back(
        {.socket = std::move(socket), .peer = isLocal ? std::optional(peer.uid) : std::nullopt});
}

void PortService::receive(Connection &connection) {
    std::array<char, 16384> buffer;
    const ssize_t got = ::recv(connection.socket.get(), buffer.data(), buffer.size(), 0);
    if (got < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (got <= 0) {
        connection.socket.reset();
        return;
    }
    connection.heard = Clock::now();
    connection.reader.add({buffer.data(), static_cast<std::size_t>(got)});
    while (!connection.isEnding) {
        const auto frame = connection.reader.next();
        if (!frame)
            break;
        handle(connection, *frame);
    }
    if (connection.reader.isBroken())
        end(connection, "What was sent is no frame.", false);
}

void PortService::handle(Connection &connection, const Frame &frame) {
    Terminal *terminal = connection.terminal.get();
    if (terminal == nullptr) {
        handleFirst(connection, frame);
        return;
    }
    switch (frame.type) {
    case 'D':
        if (!terminal->type(frame.payload))
            end(connection, "More was typed than the device takes.", true);
        break;
    case 'R':
        if (frame.payload.size() == 4)
            terminal->resize(numberAt(frame.payload, 0), numberAt(frame.payload, 2));
        break;
    case 'B':
        terminal->sendBreak();
        break;
    case 'W':
        terminal->takeOver();
        isStale_ = true;
        break;
    case 'V':
        terminal->watch();
        isStale_ = true;
        break;
    default:
        end(connection, "What was sent is no frame.", false);
    }
}

void PortService::handleFirst(Connection &connection, const Frame &frame) {
    if (!connection.peer) {
        const auto ticket = frame.type == 'T' ? takeTicket(frame.payload) : std::nullopt;
        if (!ticket) {
            end(connection, "The ticket is no longer good.", true);
            return;
        }
        openTerminal(connection, {.user = ticket->user,
                                  .session = ticket->session,
                                  .from = ticket->address,
                                  .via = "web",
                                  .target = ticket->target,
                                  .watches = ticket->watches});
        return;
    }
    if (frame.type == 'U') {
        const auto lines = linesOf(frame.payload, 4);
        if (lines.size() < 4 || !maySpeakFor(*connection.peer, lines[0]))
            end(connection, "This account is not yours.", false);
        else
            openTerminal(connection, {.user = lines[0],
                                      .from = lines[3],
                                      .via = "ssh",
                                      .target = lines[1],
                                      .watches = lines[2] != "write"});
    } else if (frame.type == 'Q') {
        askConsoles(connection);
    } else if (frame.type == 'L' && maySpeakFor(*connection.peer, frame.payload)) {
        connection.listsFor = frame.payload;
        askConsoles(connection);
    } else if ((frame.type == 'M' || frame.type == 'X') && maySpeakFor(*connection.peer, "root")) {
        command(connection, frame);
    } else {
        end(connection, "What was sent is no frame.", false);
    }
}

void PortService::openTerminal(Connection &connection, Grant grant) {
    rights_.refresh();
    if (grant.user.empty() || !isLive(grant)) {
        end(connection, "The session has ended.", false);
        return;
    }
    if (const std::string refusal = rights_.refusal(grant); !refusal.empty()) {
        end(connection, refusal, false);
        return;
    }
    if (terminalsOf(grant.user) >= most_terminals) {
        end(connection, "Too many terminals are open. Close one of the others.", false);
        return;
    }
    logRecord(Priority::info, "Terminal of '%s' opened on '%s' from '%s'", grant.user.c_str(),
              grant.target.c_str(), grant.from.c_str());
    connection.terminal = std::make_unique<Terminal>(std::move(grant));
    if (!connection.terminal->child())
        end(connection, std::string("The terminal could not be started: ") + std::strerror(errno),
            true);
    isStale_ = true;
    tellState(connection);
}

void PortService::end(Connection &connection, std::string_view reason, bool again) {
    if (connection.isEnding)
        return;
    appendFrame(connection.out, 'E', sentence(reason, again));
    connection.isEnding = true;
    if (connection.terminal) {
        const Grant &grant = connection.terminal->grant();
        logRecord(Priority::info, "Terminal of '%s' on '%s' ended: %s", grant.user.c_str(),
                  grant.target.c_str(), std::string(reason).c_str());
        connection.terminal.reset();
        isStale_ = true;
    }
}

void PortService::send(Connection &connection) const {
    while (connection.socket && !connection.out.empty()) {
        const ssize_t sent = ::send(connection.socket.get(), connection.out.data(),
                                    connection.out.size(), MSG_NOSIGNAL);
        if (sent > 0) {
            connection.out.erase(0, static_cast<std::size_t>(sent));
            connection.heard = Clock::now();
            continue;
        }
        if (errno == EAGAIN || errno == EINTR)
            return;
        connection.socket.reset();
    }
}

void PortService::readTerminal(Connection &connection) {
    std::string output;
    if (!connection.terminal->read(output)) {
        const bool isShell = connection.terminal->grant().target == "shell";
        end(connection, isShell ? "The shell has ended." : "The connection to the port was lost.",
            !isShell);
        return;
    }
    if (!output.empty())
        appendFrame(connection.out, 'D', output);
    if (connection.terminal->takeNews()) {
        isStale_ = true;
        tellState(connection);
    }
}

void PortService::takeRemains() {
    for (const auto &[pid, status] : reap()) {
        if (asking_.pid() == pid)
            asking_.forget();
        for (ConsoleQuery &command : commands_)
            if (command.pid() == pid)
                command.forget();
        for (Connection &each : connections_)
            if (each.terminal && each.terminal->child().pid() == pid)
                each.terminal->child().forget();
    }
}

/// Once a second: what may no longer be open is closed.
void PortService::look() {
    looked_ = Clock::now();
    rights_.refresh();
    upkeep_.look(rights_.config());
    readCommands();
    for (Connection &each : connections_) {
        if (!each.terminal) {
            if (!each.isEnding && !each.asksStates && each.command == nullptr &&
                looked_ - each.heard > first_frame_patience)
                each.socket.reset();
        } else if (Grant grant = each.terminal->grant(); !isLive(grant)) {
            end(each, "The session has ended.", false);
        } else if (const std::string refusal = rights_.refusal(grant); !refusal.empty()) {
            end(each, refusal, false);
        } else if (each.terminal->grant().idleMinutes > 0 && each.terminal->writes() &&
                   each.terminal->idle() >= 60 * std::int64_t{each.terminal->grant().idleMinutes}) {
            end(each, "Nothing was typed for too long.", false);
        }
        if (!each.out.empty() && looked_ - each.heard > reading_patience)
            each.socket.reset();
    }
    const bool hasTerminals = !terminals().empty();
    if (hasTerminals && (isStale_ || looked_ - asked_ >= state_interval))
        askStates();
}

std::vector<const Terminal *> PortService::terminals() const {
    std::vector<const Terminal *> open;
    for (const Connection &each : connections_)
        if (each.terminal)
            open.push_back(each.terminal.get());
    return open;
}

std::size_t PortService::terminalsOf(const std::string &user) const {
    const auto open = terminals();
    return static_cast<std::size_t>(
        std::count_if(open.begin(), open.end(),
                      [&](const Terminal *each) { return each->grant().user == user; }));
}

} // namespace zandorin::ports
