#include "services/supervisor.h"

#include "util/fd.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/strings.h"

#include <cerrno>
#include <csignal>
#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zandorin::services {

namespace {

std::string linkOf(const std::string &name) {
    return appliancePath("/var/service/" + name);
}

/// runsv(8) takes single letters as commands.
bool command(const std::string &name, char letter) {
    const UniqueFd control(::open((serviceFolder(name) + "/supervise/control").c_str(),
                                  O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    return control && ::write(control.get(), &letter, 1) == 1;
}

} // namespace

std::string serviceFolder(const std::string &name) {
    return appliancePath("/etc/service/" + name);
}

bool isSupervised(const std::string &name) {
    // The other end is open as long as runsv lives.
    const UniqueFd alive(
        ::open((serviceFolder(name) + "/supervise/ok").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    return static_cast<bool>(alive);
}

pid_t processOf(const std::string &name) {
    if (!isSupervised(name))
        return 0;
    const auto text = readFile(serviceFolder(name) + "/supervise/pid", 64).value_or("");
    const auto pid = parseWhole(trim(text)).value_or(0);
    return pid > 1 ? static_cast<pid_t>(pid) : 0;
}

long secondsUp(const std::string &name) {
    struct stat status = {};
    if (processOf(name) == 0 ||
        ::stat((serviceFolder(name) + "/supervise/pid").c_str(), &status) != 0)
        return -1;
    return static_cast<long>(std::time(nullptr) - status.st_mtime);
}

bool introduce(const std::string &name) {
    return ::symlink(("../../etc/service/" + name).c_str(), linkOf(name).c_str()) == 0 ||
           errno == EEXIST;
}

bool enable(const std::string &name) {
    ::unlink((serviceFolder(name) + "/down").c_str());
    const bool isLinked = introduce(name);
    if (isSupervised(name))
        command(name, 'u');
    return isLinked;
}

bool disable(const std::string &name) {
    if (::access(serviceFolder(name).c_str(), F_OK) != 0)
        return true; // it was never on
    constexpr mode_t readable = 0644;
    const bool isMarked = replaceFile(serviceFolder(name) + "/down", "", readable, Durable::no);
    if (isSupervised(name))
        command(name, 'd');
    return isMarked;
}

bool restart(const std::string &name) {
    return command(name, 't') && command(name, 'u');
}

bool signalService(const std::string &name, int signal) {
    const pid_t pid = processOf(name);
    return pid > 1 && ::kill(pid, signal) == 0;
}

} // namespace zandorin::services
