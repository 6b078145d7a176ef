#include "util/process_pipe.h"

#include "util/child_process.h"
#include "util/fd.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zandorin {

namespace {

constexpr std::size_t put_back = 4;
constexpr std::size_t stream_buffer_size = 128;

long long microseconds(const timeval &time) {
    return time.tv_sec * 1000000LL + time.tv_usec;
}

/// Blocks SIGCHLD while it lives, so that a wait for it cannot miss one; errno survives.
class ChildSignalBlock {
  public:
    ChildSignalBlock() {
        ::sigemptyset(&child_);
        ::sigaddset(&child_, SIGCHLD);
        valid_ = ::sigprocmask(SIG_BLOCK, &child_, &before_) == 0;
    }
    ~ChildSignalBlock() {
        const int reason = errno;
        if (valid_)
            ::sigprocmask(SIG_SETMASK, &before_, nullptr);
        errno = reason;
    }
    ChildSignalBlock(const ChildSignalBlock &) = delete;
    ChildSignalBlock &operator=(const ChildSignalBlock &) = delete;

    bool valid() const { return valid_; }

    /// Until a child ends or the time is over; false on any other failure.
    bool waitFor(long long leftMicroseconds) const {
        timespec left = {};
        left.tv_sec = static_cast<time_t>(leftMicroseconds / 1000000);
        left.tv_nsec = static_cast<long>(leftMicroseconds % 1000000 * 1000);
        return ::sigtimedwait(&child_, nullptr, &left) >= 0 || errno == EAGAIN;
    }

  private:
    sigset_t child_ = {};
    sigset_t before_ = {};
    bool valid_ = false;
};

[[noreturn]] void becomeCommand(int output, const char *command, char *const *environment) {
    resetSignals();
    ::dup2(output, STDOUT_FILENO);
    const int input = ::open("/dev/null", O_RDONLY);
    if (input >= 0)
        ::dup2(input, STDIN_FILENO);
    ::closefrom(STDERR_FILENO + 1);
    ::execle("/bin/sh", "/bin/sh", "-c", command, nullptr, environment);
    std::perror("/bin/sh");
    ::_exit(1);
}

} // namespace

timeout_buf::timeout_buf(int timeoutMs, std::size_t size)
    : buffer_(size + put_back), timeoutMs_(timeoutMs) {}

timeout_buf::~timeout_buf() {
    close();
}

void timeout_buf::fd(int newFd) {
    close();
    fd_ = newFd;
}

void timeout_buf::close() {
    if (fd_ != -1)
        ::close(fd_);
    fd_ = -1;
}

timeout_buf::int_type timeout_buf::underflow() {
    if (gptr() < egptr())
        return traits_type::to_int_type(*gptr());
    char *const start = buffer_.data() + put_back;
    const auto read_before = static_cast<std::size_t>(gptr() - eback());
    const std::size_t kept = std::min(read_before, put_back);
    if (kept > 0)
        std::memmove(start - kept, gptr() - kept, kept);
    if (fd_ == -1)
        return traits_type::eof();
    pollfd source = {fd_, POLLIN, 0};
    if (::poll(&source, 1, timeoutMs_) <= 0)
        return traits_type::eof();
    const ssize_t got = ::read(fd_, start, buffer_.size() - put_back);
    if (got <= 0)
        return traits_type::eof();
    setg(start - kept, start, start + got);
    return traits_type::to_int_type(*gptr());
}

ipipestream::ipipestream(const std::string &command, int timeoutMs)
    : std::istream(nullptr), defaultTimeoutMs_(timeoutMs), buffer_(timeoutMs, stream_buffer_size) {
    rdbuf(&buffer_);
    spawn(command);
}

ipipestream::~ipipestream() {
    buffer_.close();
    wait(0);
}

void ipipestream::spawn(const std::string &command) {
    std::array<int, 2> ends = {};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return;
    UniqueFd readEnd(ends[0]);
    UniqueFd writeEnd(ends[1]);
    const ChildEnvironment environment;
    const pid_t child = ::fork();
    if (child == 0)
        becomeCommand(writeEnd.get(), command.c_str(), environment.block());
    if (child < 0) {
        const int reason = errno;
        readEnd.reset();
        writeEnd.reset();
        errno = reason;
        return;
    }
    pid_ = child;
    status_ = -1;
    ::fcntl(readEnd.get(), F_SETFL, O_NONBLOCK);
    setfd(readEnd.release());
}

void ipipestream::setfd(int fd) {
    buffer_.fd(fd);
}

bool ipipestream::wait(int timeoutMs) {
    if (pid_ == -1) {
        if (status_ != -1)
            return true;
        errno = ECHILD;
        return false;
    }
    if (timeoutMs == -2)
        timeoutMs = defaultTimeoutMs_;
    int status = 0;
    const auto reaped = [&](pid_t answer) {
        if (answer != pid_)
            return false;
        pid_ = -1;
        status_ = status;
        return true;
    };
    if (timeoutMs == -1)
        return reaped(::waitpid(pid_, &status, 0));

    timeval now = {};
    if (::gettimeofday(&now, nullptr) != 0)
        return false;
    const long long deadline = microseconds(now) + timeoutMs * 1000LL;
    const ChildSignalBlock block;
    if (!block.valid())
        return false;
    for (;;) {
        const pid_t answer = ::waitpid(pid_, &status, WNOHANG);
        if (answer != 0)
            return reaped(answer);
        if (::gettimeofday(&now, nullptr) != 0)
            return false;
        const long long remaining = deadline - microseconds(now);
        if (remaining <= 0) {
            errno = EAGAIN;
            return false;
        }
        if (!block.waitFor(remaining))
            return false;
    }
}

int ipipestream::kill(int signal) {
    if (pid_ == -1) {
        errno = ENOENT;
        return -1;
    }
    return ::kill(pid_, signal);
}

int ipipestream::status(int timeoutMs) {
    return wait(timeoutMs) ? status_ : -1;
}

bool ipipestream::success(int timeoutMs) {
    const int raw = status(timeoutMs);
    return raw != -1 && WIFEXITED(raw) && WEXITSTATUS(raw) == 0;
}

std::string ipipestream::status_string(int timeoutMs) {
    const int raw = status(timeoutMs);
    if (raw == -1)
        return buffer_.closed() ? "error" : "incomplete";
    std::array<char, 128> text = {};
    const char *dumped = WCOREDUMP(raw) ? " (core dumped)" : "";
    if (WIFEXITED(raw))
        std::snprintf(text.data(), text.size(), "exit %d%s", WEXITSTATUS(raw), dumped);
    else if (WIFSIGNALED(raw))
        std::snprintf(text.data(), text.size(), "%s%s", ::strsignal(WTERMSIG(raw)), dumped);
    else
        std::snprintf(text.data(), text.size(), "unknown %d%s", raw, dumped);
    return text.data();
}

} // namespace zandorin
