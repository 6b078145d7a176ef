#include "services/ports/pty_child.h"

#include "util/child_process.h"
#include "util/log.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zandorin::ports {

namespace {

std::vector<char *> pointersTo(const std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string &text : texts)
        pointers.push_back(const_cast<char *>(text.c_str())); // execve(2) does not write to them
    pointers.push_back(nullptr);
    return pointers;
}

/// In the child. Only root may choose, and whoever is root already has nothing to change.
bool become(const passwd &account) {
    if (::geteuid() != 0 || account.pw_uid == 0)
        return true;
    return ::initgroups(account.pw_name, account.pw_gid) == 0 && ::setgid(account.pw_gid) == 0 &&
           ::setuid(account.pw_uid) == 0;
}

} // namespace

Command helperCommand(std::vector<std::string> arguments) {
    Command command{.arguments = std::move(arguments)};
    const ChildEnvironment environment;
    for (char *const *variable = environment.block(); *variable != nullptr; ++variable)
        command.environment.emplace_back(*variable);
    return command;
}

Child::Child(Child &&other) noexcept
    : fd_(std::move(other.fd_)), pid_(std::exchange(other.pid_, -1)) {}

Child &Child::operator=(Child &&other) noexcept {
    if (this != &other) {
        end();
        fd_ = std::move(other.fd_);
        pid_ = std::exchange(other.pid_, -1);
    }
    return *this;
}

Child Child::onTerminal(const Command &command) {
    UniqueFd own(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!own || ::grantpt(own.get()) != 0 || ::unlockpt(own.get()) != 0)
        return {};
    const UniqueFd terminal(::ioctl(own.get(), TIOCGPTPEER, O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!terminal || ::fcntl(own.get(), F_SETFL, O_RDWR | O_NONBLOCK) != 0)
        return {};
    return start(command, std::move(own), terminal.get());
}

Child Child::start(const Command &command, UniqueFd own, int terminal) {
    // All memory is asked for before the fork.
    std::vector<std::string> arguments = command.arguments;
    std::vector<std::string> environment = command.environment;
    const auto argv = pointersTo(arguments);
    const auto envp = pointersTo(environment);
    const passwd *account = command.account.empty() ? nullptr : ::getpwnam(command.account.c_str());
    if (!command.account.empty() && account == nullptr) {
        errno = ENOENT;
        return {};
    }
    const pid_t pid = ::fork();
    if (pid < 0)
        return {};
    if (pid == 0) {
        resetSignals();
        ::setsid();
        ::ioctl(terminal, TIOCSCTTY, 0);
        for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            ::dup2(terminal, fd);
        if (account != nullptr && !become(*account))
            ::_exit(126);
        if (::chdir(command.folder.c_str()) != 0 && ::chdir("/") != 0)
            ::_exit(126);
        ::execvpe(argv.front(), argv.data(), envp.data());
        ::_exit(127);
    }
    Child started;
    started.fd_ = std::move(own);
    started.pid_ = pid;
    return started;
}

void Child::resize(unsigned short columns, unsigned short rows) const {
    winsize size = {};
    size.ws_col = columns;
    size.ws_row = rows;
    ::ioctl(fd_.get(), TIOCSWINSZ, &size);
}

void Child::end() {
    fd_.reset();
    if (pid_ <= 1)
        return;
    // It leads a session of its own: what it has started goes with it.
    ::kill(-pid_, SIGHUP);
    ::kill(-pid_, SIGKILL);
    pid_ = -1;
}

std::vector<std::pair<pid_t, int>> reap() {
    std::vector<std::pair<pid_t, int>> ended;
    int status = 0;
    for (pid_t pid = 0; (pid = ::waitpid(-1, &status, WNOHANG)) > 0;)
        ended.emplace_back(pid, status);
    return ended;
}

} // namespace zandorin::ports
