#include "services/autoresponse/child.h"

#include "util/child_process.h"
#include "util/split.h"
#include "util/strings.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <initializer_list>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zandorin::responder {

namespace {

constexpr std::size_t most_words = 256;
constexpr std::size_t most_tail = 2048;
constexpr int most_pieces = 64; ///< of output at a time: who puts out without end is not alone here

std::string lastLine(std::string_view text) {
    const auto lines = utilities::split(text, "\r\n");
    for (auto line = lines.rbegin(); line != lines.rend(); ++line)
        if (const auto words = trim(*line); !words.empty())
            return std::string(words.substr(0, most_words));
    return "";
}

UniqueFd inputOf(const std::string &text) {
    UniqueFd input(text.empty() ? ::open("/dev/null", O_RDONLY | O_CLOEXEC)
                                : ::memfd_create("input", MFD_CLOEXEC));
    if (!text.empty() && input &&
        (::write(input.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
         ::lseek(input.get(), 0, SEEK_SET) != 0))
        input.reset();
    return input;
}

} // namespace

std::string problemOf(const Ended &ended) {
    if (ended.status <= 0)
        return ended.status == 0 ? "" : ended.words;
    return "exit status " + std::to_string(ended.status) +
           (ended.words.empty() ? "" : ": " + ended.words);
}

Child::Child(const Command &command) : deadline_(std::chrono::steady_clock::now() + command.limit) {
    start(command);
}

Child::Child(Child &&other) noexcept
    : pid_(std::exchange(other.pid_, -1)), output_(std::move(other.output_)),
      end_(std::move(other.end_)), deadline_(other.deadline_), tail_(std::move(other.tail_)),
      ended_(std::move(other.ended_)) {}

Child &Child::operator=(Child &&other) noexcept {
    kill();
    pid_ = std::exchange(other.pid_, -1);
    output_ = std::move(other.output_);
    end_ = std::move(other.end_);
    deadline_ = other.deadline_;
    tail_ = std::move(other.tail_);
    ended_ = std::move(other.ended_);
    return *this;
}

void Child::start(const Command &command) {
    const UniqueFd input = inputOf(command.input);
    int ends[2] = {-1, -1};
    if (!input || ::pipe2(ends, O_CLOEXEC) != 0) {
        ended_.words = std::strerror(errno);
        return;
    }
    output_.reset(ends[0]);
    const UniqueFd writing(ends[1]);
    ::fcntl(output_.get(), F_SETFL, O_NONBLOCK);
    const ChildEnvironment environment;
    std::vector<char *> arguments;
    for (const std::string &word : command.words)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    pid_ = ::fork();
    if (pid_ == 0) {
        ::setsid();
        resetSignals();
        ::dup2(input.get(), STDIN_FILENO);
        ::dup2(writing.get(), STDOUT_FILENO);
        ::dup2(writing.get(), STDERR_FILENO);
        ::closefrom(STDERR_FILENO + 1);
        if (::chdir("/") == 0)
            ::execvpe(arguments[0], arguments.data(), environment.block());
        const char *reason = std::strerror(errno);
        for (const char *text : std::initializer_list<const char *>{arguments[0], ": ", reason})
            if (::write(STDERR_FILENO, text, std::strlen(text)) < 0)
                break;
        ::_exit(127);
    }
    if (pid_ > 0)
        end_.reset(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
    if (!end_) {
        ended_.words = std::strerror(errno);
        kill();
    }
}

void Child::readOutput() {
    std::array<char, 4096> buffer;
    for (int pieces = 0; output_ && pieces < most_pieces; ++pieces) {
        const ssize_t got = ::read(output_.get(), buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got == 0 || (got < 0 && errno != EAGAIN))
            output_.reset();
        if (got <= 0)
            return;
        tail_.append(buffer.data(), static_cast<std::size_t>(got));
        if (tail_.size() > most_tail)
            tail_.erase(0, tail_.size() - most_tail);
    }
}

bool Child::look() {
    if (pid_ < 0)
        return true;
    readOutput();
    siginfo_t end = {};
    int status = 0;
    if (::waitid(P_PID, static_cast<id_t>(pid_), &end, WEXITED | WNOHANG | WNOWAIT) == 0 &&
        end.si_pid == pid_) {
        // What it left running has no time of its own. Until the process is reaped, nobody else has
        // the number of its group.
        ::kill(-pid_, SIGKILL);
        ::waitpid(pid_, &status, 0);
        readOutput(); // what came before the end
        ended_.words = lastLine(tail_);
        ended_.output = tail_;
        if (WIFEXITED(status))
            ended_.status = WEXITSTATUS(status);
        else
            ended_.words = std::string("it was ended: ") + ::strsignal(WTERMSIG(status));
        pid_ = -1;
    } else if (std::chrono::steady_clock::now() >= deadline_) {
        kill();
        ended_.words = "it took too long and was ended";
    }
    return pid_ < 0;
}

const Ended &Child::wait() {
    while (!look()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline_ - std::chrono::steady_clock::now());
        std::array fds = {pollfd{.fd = fd(), .events = POLLIN, .revents = 0},
                          pollfd{.fd = endFd(), .events = POLLIN, .revents = 0}};
        ::poll(fds.data(), fds.size(), left.count() > 0 ? static_cast<int>(left.count()) + 1 : 0);
    }
    return ended_;
}

void Child::kill() {
    if (pid_ > 0) {
        ::kill(-pid_, SIGKILL);
        ::kill(pid_, SIGKILL); // before it has a group of its own
        // Not for ever: a process inside a stuck device driver does not even take this signal.
        for (int tries = 0; tries < 100 && ::waitpid(pid_, nullptr, WNOHANG) == 0; ++tries)
            std::this_thread::sleep_for(std::chrono::milliseconds(tries < 10 ? 1 : 10));
    }
    pid_ = -1;
    output_.reset();
    end_.reset();
}

} // namespace zandorin::responder
