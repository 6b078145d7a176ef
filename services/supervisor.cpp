#include "services/supervisor.h"

#include "util/fd.h"
#include "util/files.h"
#include "util/paths.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
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
