#include "services/ports/terminal.h"

#include "platform/libzdsupport/child.h"
#include "platform/ports/port_log.h"
#include "settings/submission.h"
#include "util/fd.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

namespace zandorin::ports {

namespace {

constexpr std::size_t most_typed = std::size_t{64} * 1024;
constexpr std::size_t most_echoed = 4096;
constexpr std::size_t most_line = 1024;

/// The appliance's shell as the account logs in to it.
Command shellCommand(const std::string &user) {
    const passwd *account = ::getpwnam(user.c_str());
    const std::string shell =
        account == nullptr || *account->pw_shell == '\0' ? "/bin/sh" : account->pw_shell;
    const std::string home = account == nullptr ? "/" : appliancePath(account->pw_dir);
    Command command = helperCommand({shell, "-l"});
    command.folder = home;
    command.account = user;
    for (const auto &[name, value] :
         {std::pair{"HOME=", home}, std::pair{"SHELL=", shell}, std::pair{"USER=", user},
          std::pair{"LOGNAME=", user}, std::pair{"TERM=", std::string("xterm-256color")}})
        command.environment.push_back(name + value);
    return command;
}

Child startedFor(const Grant &grant) {
    return Child::onTerminal(grant.target == "shell" ? shellCommand(grant.user)
                                                     : openCommand(grant.user, grant.master,
                                                                   grant.console, grant.watches));
}

/// As conserver writes its own lines into a log.
std::string logLine(const std::string &event) {
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    std::array<char, 32> time = {};
    ::localtime_r(&now, &parts);
    const std::size_t length =
        std::strftime(time.data(), time.size(), "%a %b %e %H:%M:%S %Y", &parts);
    return concat({"[-- ", event, " -- ", {time.data(), length}, "]\n"});
}

/// A full disk stops the log, not the port.
void addToLog(unsigned port, const std::string &text, int flags = 0) {
    constexpr mode_t own = 0600;
    const UniqueFd log(::open(portLogPath(port).c_str(),
                              O_WRONLY | O_APPEND | O_CLOEXEC | O_NOFOLLOW | flags, own));
    if (log && ::write(log.get(), text.data(), text.size()) < 0)
        logRecord(Priority::warn, "The log of port %u could not be written", port);
}

} // namespace

Terminal::Terminal(Grant grant)
    : grant_(std::move(grant)), child_(startedFor(grant_)), since_(std::time(nullptr)),
      notices_(!grant_.watches) {
    if (grant_.logsEvents)
        addToLog(grant_.port, logLine(grant_.user + "@" + grant_.from + " attached"), O_CREAT);
}

Terminal::~Terminal() {
    if (grant_.logsEvents)
        addToLog(grant_.port, logLine(grant_.user + "@" + grant_.from + " detached"));
}

bool Terminal::type(std::string_view keys) {
    if (grant_.watches)
        return true;
    typed_ = std::time(nullptr);
    if (toChild_.size() + keys.size() > most_typed)
        return false;
    if (grant_.target == "shell") {
        toChild_ += keys;
        return true;
    }
    if (grant_.logsTyped)
        logTyped(keys);
    const std::string literal = literalKeys(keys);
    quotes_ += static_cast<unsigned>((literal.size() - keys.size()) / 5);
    toChild_ += literal;
    return true;
}

std::int64_t Terminal::idle() const {
    return static_cast<std::int64_t>(std::time(nullptr)) - typed_;
}

void Terminal::sendBreak() {
    if (!writes() || grant_.target == "shell")
        return;
    if (grant_.port == 0) { // another appliance's, which knows how long it is to be
        toChild_ += breakKeys();
        return;
    }
    // conserver sends breaks of one length only.
    const std::string program = appliancePath("/bin/port-line");
    const std::string number = std::to_string(grant_.port);
    const char *const arguments[] = {program.c_str(), "--break", number.c_str(), nullptr};
    if (platform::startProgram(arguments, platform::Reaper::init) < 0)
        logRecord(Priority::error, "A break could not be sent: %s", std::strerror(errno));
    else
        addToLog(grant_.port, logLine(concat({grant_.user, "@", grant_.from, " sent a break"})));
}

void Terminal::takeOver() {
    if (!grant_.watches && grant_.target != "shell")
        toChild_ += takeOverKeys();
}

void Terminal::watch() {
    if (grant_.target != "shell")
        toChild_ += watchKeys();
}

void Terminal::write() {
    const ssize_t sent = ::write(child_.fd(), toChild_.data(), toChild_.size());
    if (sent > 0)
        toChild_.erase(0, static_cast<std::size_t>(sent));
    else if (sent < 0 && errno != EAGAIN && errno != EINTR)
        toChild_.clear();
}

bool Terminal::read(std::string &output) {
    std::array<char, 8192> buffer;
    const ssize_t got = ::read(child_.fd(), buffer.data(), buffer.size());
    if (got < 0 && (errno == EAGAIN || errno == EINTR))
        return true;
    if (got <= 0) // EIO: nobody has the terminal open any more
        return false;
    std::string_view bytes(buffer.data(), static_cast<std::size_t>(got));
    std::string shown;
    if (grant_.target != "shell") {
        std::string keys;
        shown = login_.read(bytes, keys);
        toChild_ += keys;
        bytes = shown;
        if (bytes.empty())
            return true;
        hasNews_ = notices_.read(bytes) || hasNews_;
        // The client's own greeting speaks of keys that do not reach it here.
        constexpr std::string_view greeting = "[Enter `^_c?' for help]\r\n";
        if (isFirst_ && bytes.starts_with(greeting))
            bytes.remove_prefix(greeting.size());
        isFirst_ = false;
        if (grant_.logsTyped && echoed_.size() < most_echoed)
            echoed_ += bytes;
    }
    output += bytes;
    dropQuotes(output, quotes_);
    return true;
}

/// A line that the device did not show, such as a password, is logged by its placeholder alone.
void Terminal::logTyped(std::string_view keys) {
    for (const char key : keys) {
        if (key != '\r' && key != '\n') {
            if (line_.size() < most_line && static_cast<unsigned char>(key) >= ' ')
                line_ += key;
            continue;
        }
        if (!line_.empty()) {
            const bool isShown = echoed_.find(line_) != std::string::npos;
            addToLog(grant_.port,
                     "\n" + logLine(grant_.user + " typed `" +
                                    (isShown ? line_ : settings::password_placeholder) + "'"));
        }
        line_.clear();
        echoed_.clear();
    }
}

} // namespace zandorin::ports
