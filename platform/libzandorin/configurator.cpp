#include "platform/libzandorin/configurator.h"

#include "platform/libzdsupport/child.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zandorin::platform {

namespace {

std::string programOf(const std::string &name) {
    return appliancePath("/usr/lib/zandorin/configurators/" + name);
}

} // namespace

bool isConfiguratorName(std::string_view name) {
    return !name.empty() && name.front() != '.' &&
           std::all_of(name.begin(), name.end(), [](char c) {
               return isAlphanumeric(c) || c == '.' || c == '_' || c == '-';
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
    const std::string program = programOf(name);
    const char *const arguments[] = {program.c_str(), argument.c_str(), nullptr};
    const int status = runProgram(arguments, limit);
    if (status < 0 && errno == ETIMEDOUT) {
        logRecord(Priority::error, "Configurator '%s' was stopped after %ld seconds", name.c_str(),
                  static_cast<long>(std::chrono::ceil<std::chrono::seconds>(limit).count()));
        return false;
    }
    if (status < 0) {
        logRecord(Priority::error, "Configurator '%s' could not be started: %s", name.c_str(),
                  std::strerror(errno));
        return false;
    }
    if (WIFSIGNALED(status)) {
        logRecord(Priority::error, "Configurator '%s' was ended by signal %d", name.c_str(),
                  WTERMSIG(status));
        return false;
    }
    if (WEXITSTATUS(status) != 0) {
        logRecord(Priority::error, "Configurator '%s' failed with status %d", name.c_str(),
                  WEXITSTATUS(status));
        return false;
    }
    return true;
}

} // namespace zandorin::platform
