#include "platform/libzdsupport/process.h"

#include "platform/libzdsupport/child.h"
#include "util/child_process.h"
#include "util/fd.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zandorin::platform {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// The child reports to its starter through this descriptor: its process id, and after that the
// errno of a failed execve. A successful one closes it.
constexpr int report_fd = 3;

void report(int value) {
    // The starter takes silence for a failure, so a failed write needs no answer.
    [[maybe_unused]] const ssize_t written = ::write(report_fd, &value, sizeof value);
}

[[noreturn]] void giveUp() {
    report(errno);
    ::_exit(127);
}

/// In the child. Only system calls from here on.
[[noreturn]] void becomeProgram(const char *const *arguments, char *const *environment) {
    report(::getpid());
    ::setsid();
    resetSignals();
    const int null = ::open("/dev/null", O_RDWR);
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        if (null < 0 || ::dup2(null, fd) < 0)
            giveUp();
    ::closefrom(report_fd + 1);
    if (::chdir("/") != 0)
        giveUp();
    ::execve(arguments[0], const_cast<char *const *>(arguments), environment);
    giveUp();
}

[[noreturn]] void runChild(int pipe, Reaper reaper, const char *const *arguments,
                           char *const *environment) {
    if (pipe != report_fd && ::dup3(pipe, report_fd, O_CLOEXEC) < 0)
        ::_exit(127);
    if (reaper == Reaper::init) {
        // Once the process between has ended, init is the program's parent.
        const pid_t program = ::fork();
        if (program < 0)
            report(-errno);
        if (program != 0)
            ::_exit(0);
    }
    becomeProgram(arguments, environment);
}

bool readReport(int pipe, int &value) {
    ssize_t got = 0;
    do {
        got = ::read(pipe, &value, sizeof value);
    } while (got < 0 && errno == EINTR);
    return got == static_cast<ssize_t>(sizeof value);
}

/// Gives SIGCHLD its default handling for the life of the object: where a web server left it
/// ignored, the kernel would keep no exit status.
class DefaultChildSignal {
  public:
    DefaultChildSignal() {
        struct sigaction action = {};
        action.sa_handler = SIG_DFL;
        ::sigaction(SIGCHLD, &action, &before_);
    }
    ~DefaultChildSignal() { ::sigaction(SIGCHLD, &before_, nullptr); }
    DefaultChildSignal(const DefaultChildSignal &) = delete;
    DefaultChildSignal &operator=(const DefaultChildSignal &) = delete;

  private:
    struct sigaction before_ = {};
};

/// The wait status of the child; none when it has not ended by then.
std::optional<int> awaitEnd(pid_t child, Clock::time_point deadline) {
    for (auto pause = 1ms;; pause = std::min(2 * pause, 20ms)) {
        int status = 0;
        if (::waitpid(child, &status, WNOHANG) == child)
            return status;
        if (Clock::now() >= deadline)
            return std::nullopt;
        std::this_thread::sleep_for(pause);
    }
}

void reap(pid_t child) {
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

} // namespace

pid_t startProgram(const char *const *arguments, Reaper reaper) {
    const ChildEnvironment environment;

    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return -1;
    const UniqueFd reading(ends[0]);
    UniqueFd writing(ends[1]);
    const pid_t child = ::fork();
    if (child < 0)
        return -1;
    if (child == 0)
        runChild(writing.get(), reaper, arguments, environment.block());
    writing.reset();

    int program = 0;
    int failure = 0;
    if (!readReport(reading.get(), program))
        failure = EIO;
    else if (program < 0)
        failure = -program;
    else
        readReport(reading.get(), failure);
    if (reaper == Reaper::init || failure != 0)
        reap(child);
    if (failure == 0)
        return program;
    errno = failure;
    return -1;
}

int runProgram(const char *const *arguments, std::chrono::milliseconds limit) {
    const DefaultChildSignal keepStatus;
    const pid_t child = startProgram(arguments, Reaper::caller);
    if (child < 0)
        return -1;
    if (const std::optional<int> status = awaitEnd(child, Clock::now() + limit))
        return *status;
    ::kill(-child, SIGKILL);
    // Not for ever: a process inside a stuck device driver does not even take this signal.
    awaitEnd(child, Clock::now() + 5s);
    errno = ETIMEDOUT;
    return -1;
}

} // namespace zandorin::platform

pid_t zandorin_proc_exec_nowait(const char *const *arguments) {
    if (arguments == nullptr || arguments[0] == nullptr) {
        errno = EINVAL;
        return -1;
    }
    return zandorin::platform::startProgram(arguments, zandorin::platform::Reaper::init);
}
