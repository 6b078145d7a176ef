#include "tests/support/mock_helper.h"

#include "util/fd.h"
#include "util/files.h"
#include "util/paths.h"

#include <cstdio>
#include <cstdlib>

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zandorin::test {

namespace {

constexpr int pause_ms = 10;
constexpr int patience_ms = 5000;

bool hasText(auth::Message type) {
    return type == auth::Message::username || type == auth::Message::sessionId ||
           type == auth::Message::reply || type == auth::Message::clientAddress;
}

/// The request in one line; "" when it has no end.
std::string readRequest(int connection) {
    std::string line;
    while (const auto type = auth::readType(connection)) {
        line += std::to_string(*type);
        if (static_cast<auth::Message>(*type) == auth::Message::end)
            return line.append("\n");
        if (hasText(static_cast<auth::Message>(*type)))
            line.append(":").append(auth::readText(connection).value_or("(torn)"));
        line += ' ';
    }
    return "";
}

int waitForPid(const std::string &pidFile) {
    for (int waited = 0; waited < patience_ms; waited += pause_ms) {
        const auto text = readFile(appliancePath(pidFile));
        if (text && !text->empty() && text->back() == '\n')
            return std::atoi(text->c_str()); // NOLINT(cert-err34-c): a test's own script wrote it
        ::poll(nullptr, 0, pause_ms);
    }
    return 0;
}

} // namespace

MockHelper::MockHelper(const Answers &answers, int delayMs, const std::string &pidFile) {
    static int count = 0;
    log_ = appliancePath("/mock-" + std::to_string(++count));
    int ready[2];
    if (::pipe2(ready, O_CLOEXEC) != 0)
        return;
    pid_ = ::fork();
    if (pid_ == 0)
        serve(answers, delayMs, pidFile, ready[1]);
    ::close(ready[1]);
    char byte = 0;
    if (pidFile.empty()) [[maybe_unused]]
        const ssize_t got = ::read(ready[0], &byte, 1);
    ::close(ready[0]);
}

MockHelper::~MockHelper() {
    if (pid_ <= 0)
        return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
}

void MockHelper::serve(const Answers &answers, int delayMs, const std::string &pidFile,
                       int ready) const {
    sockaddr_un address;
    const int pid = pidFile.empty() ? ::getpid() : waitForPid(pidFile);
    const UniqueFd listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!auth::fillAddress(pid, address) ||
        ::bind(listener.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(listener.get(), 5) != 0)
        ::_exit(1);
    ::close(ready);
    for (const std::string &answer : answers) {
        const UniqueFd connection(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        auth::setTimeout(connection.get(), patience_ms / 1000);
        const std::string request = readRequest(connection.get());
        const UniqueFd log(::open(log_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
        if (::write(log.get(), request.data(), request.size()) < 0)
            ::_exit(1);
        ::poll(nullptr, 0, delayMs);
        ::send(connection.get(), answer.data(), answer.size(), MSG_NOSIGNAL);
    }
    for (;;)
        ::pause();
}

std::string MockHelper::requests() const {
    return readFile(log_).value_or("");
}

int MockHelper::endedBy() {
    int status = 0;
    for (int waited = 0; waited < patience_ms; waited += pause_ms) {
        if (::waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
        }
        ::poll(nullptr, 0, pause_ms);
    }
    return 0;
}

} // namespace zandorin::test
