#include "services/port-menu/session.h"

#include "platform/ports/port_settings.h"
#include "platform/ports/port_status.h"
#include "util/environment.h"
#include "util/strings.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

namespace zandorin::menu {

namespace {

volatile std::sig_atomic_t is_resized = 1; // the first size is told, too

void noteSize(int) {
    is_resized = 1;
}

/// The terminal in raw mode as long as the object lives.
class RawTerminal {
  public:
    RawTerminal() : isOne_(::tcgetattr(STDIN_FILENO, &before_) == 0) {
        termios raw = before_;
        ::cfmakeraw(&raw);
        if (isOne_)
            ::tcsetattr(STDIN_FILENO, TCSADRAIN, &raw);
    }
    RawTerminal(const RawTerminal &) = delete;
    RawTerminal &operator=(const RawTerminal &) = delete;
    ~RawTerminal() {
        if (isOne_)
            ::tcsetattr(STDIN_FILENO, TCSADRAIN, &before_);
    }

  private:
    termios before_ = {};
    bool isOne_;
};

void show(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

bool send(const UniqueFd &socket, char type, std::string_view payload) {
    std::string frame;
    appendFrame(frame, type, payload);
    return ::send(socket.get(), frame.data(), frame.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(frame.size());
}

void sendSize(const UniqueFd &socket) {
    is_resized = 0;
    winsize size = {};
    if (::ioctl(STDIN_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return;
    const std::array payload = {
        static_cast<char>(size.ws_col >> 8U), static_cast<char>(size.ws_col & 0xffU),
        static_cast<char>(size.ws_row >> 8U), static_cast<char>(size.ws_row & 0xffU)};
    send(socket, 'R', {payload.data(), payload.size()});
}

/// The address in SSH_CLIENT, which sshd(8) sets.
std::string clientAddress() {
    const std::string client(environmentVariable("SSH_CLIENT"));
    return client.substr(0, client.find(' '));
}

/// The text of a member of a flat JSON object of the service; its texts hold no quotes.
std::string member(std::string_view json, std::string_view name) {
    const std::string begin = concat({"\"", name, "\":\""});
    const auto at = json.find(begin);
    if (at == std::string_view::npos)
        return "";
    const auto from = at + begin.size();
    return std::string(json.substr(from, json.find('"', from) - from));
}

void help(char escape) {
    const std::string keys = escapeName(escape) + "c";
    show("\r\n[" + keys + ". leaves, " + keys + "b sends a break, " + keys + "f takes over, " +
         keys + "w watches]\r\n");
}

} // namespace

std::optional<std::vector<Port>> portsOf(const std::string &user) {
    const auto answer = askPortService('L', user);
    if (!answer)
        return std::nullopt;
    std::vector<Port> ports;
    std::string_view rest = *answer;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        std::array<std::string, 4> fields;
        std::size_t at = 0;
        for (std::string &field : fields) {
            const auto end = std::min(line.find('\t', at), line.size());
            field = line.substr(std::min(at, line.size()), end - std::min(at, end));
            at = end + 1;
        }
        ports.push_back({.name = fields[0],
                         .label = fields[1],
                         .state = fields[2],
                         .escape = static_cast<char>(leadingNumber(fields[3]))});
    }
    return ports;
}

std::string Keys::read(std::string_view typed, std::string &commands) {
    std::string keys;
    for (const char key : typed) {
        if (matched_ == 1 && key == 'c') {
            matched_ = 2;
        } else if (matched_ == 2) {
            matched_ = 0;
            if (std::string_view(".?bfw").find(key) != std::string_view::npos)
                commands += key;
            else
                append(keys, {{&escape_, 1}, "c", {&key, 1}});
        } else {
            if (matched_ == 1)
                keys += escape_;
            matched_ = key == escape_ ? 1 : 0;
            if (matched_ == 0)
                keys += key;
        }
    }
    return keys;
}

std::string runSession(const std::string &user, const std::string &target, char escape) {
    const UniqueFd socket = connectToPortService();
    if (!socket || !send(socket, 'U', concat({user, "\n", target, "\nwrite\n", clientAddress()})))
        return "The port service does not answer.";
    struct sigaction action = {};
    action.sa_handler = noteSize;
    ::sigaction(SIGWINCH, &action, nullptr);
    is_resized = 1;
    show("[" + escapeName(escape) + "c? for help]\r\n");
    const RawTerminal raw;
    Keys keys(escape);
    FrameReader reader;
    std::array<char, 8192> buffer;
    for (;;) {
        if (is_resized != 0)
            sendSize(socket);
        std::array<pollfd, 2> fds = {pollfd{STDIN_FILENO, POLLIN, 0},
                                     pollfd{socket.get(), POLLIN, 0}};
        if (::poll(fds.data(), fds.size(), -1) < 0)
            continue; // a signal: the window's size
        if (fds[0].revents != 0) {
            const ssize_t got = ::read(STDIN_FILENO, buffer.data(), buffer.size());
            if (got <= 0)
                return "";
            std::string commands;
            const std::string typed =
                keys.read({buffer.data(), static_cast<std::size_t>(got)}, commands);
            if (!typed.empty())
                send(socket, 'D', typed);
            for (const char command : commands) {
                if (command == '.')
                    return "";
                if (command == '?')
                    help(escape);
                else
                    send(socket, command == 'b' ? 'B' : command == 'f' ? 'W' : 'V', "");
            }
        }
        if (fds[1].revents != 0) {
            const ssize_t got = ::recv(socket.get(), buffer.data(), buffer.size(), 0);
            if (got <= 0)
                return "The connection to the port service was lost.";
            reader.add({buffer.data(), static_cast<std::size_t>(got)});
            while (const auto frame = reader.next()) {
                if (frame->type == 'D')
                    show(frame->payload);
                if (frame->type == 'E')
                    return member(frame->payload, "reason");
            }
        }
    }
}

} // namespace zandorin::menu
