#include "platform/libzandorin/configurator.h"

#include "platform/libzdsupport/child.h"
#include "util/log.h"
#include "util/paths.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>
#include <thread>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zandorin::platform {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

std::string programOf(const std::string &name) {
    return appliancePath("/usr/lib/zandorin/configurators/" + name);
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

} // namespace

bool isConfiguratorName(std::string_view name) {
    return !name.empty() && name.front() != '.' &&
           std::all_of(name.begin(), name.end(), [](char c) {
               return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      c == '.' || c == '_' || c == '-';
           });
}

bool configuratorExists(const std::string &name) {
    struct stat status = {};
    const std::string program = isConfiguratorName(name) ? programOf(name) : "";
    return ::stat(program.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::access(program.c_str(), X_OK) == 0;
}

bool runConfigurator(const std::string &name, const std::string &argument,
                     std::chrono::milliseconds limit) {
    const DefaultChildSignal keepStatus;
    const std::string program = programOf(name);
    const char *const arguments[] = {program.c_str(), argument.c_str(), nullptr};
    const pid_t child = startProgram(arguments, Reaper::caller);
    if (child < 0) {
        logRecord(Priority::error, "Configurator '%s' could not be started: %s", name.c_str(),
                  std::strerror(errno));
        return false;
    }
    const std::optional<int> status = awaitEnd(child, Clock::now() + limit);
    if (!status) {
        ::kill(-child, SIGKILL);
        // Not for ever: a process inside a stuck device driver does not even take this signal.
        awaitEnd(child, Clock::now() + 5s);
        logRecord(Priority::error, "Configurator '%s' was stopped after %ld seconds", name.c_str(),
                  static_cast<long>(std::chrono::ceil<std::chrono::seconds>(limit).count()));
        return false;
    }
    if (WIFSIGNALED(*status)) {
        logRecord(Priority::error, "Configurator '%s' was ended by signal %d", name.c_str(),
                  WTERMSIG(*status));
        return false;
    }
    if (WEXITSTATUS(*status) != 0) {
        logRecord(Priority::error, "Configurator '%s' failed with status %d", name.c_str(),
                  WEXITSTATUS(*status));
        return false;
    }
    return true;
}

} // namespace zandorin::platform
