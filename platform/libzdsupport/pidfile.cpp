#include "platform/libzdsupport/pidfile.h"

#include "platform/libzandorin/split.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace {

using zandorin::utilities::split;

/// The lock is held for a look and a write. No longer than a step of waiting for the holder takes.
constexpr std::chrono::seconds lock_patience{2};

// The file holds two lines: the process id, and the process's start time in clock ticks since
// boot, by which another process that got the same id later is told apart.
struct Holder {
    pid_t pid;
    std::string started; // "" when the file does not tell
};

/// Where the pid file is on this machine; "" when the name is none.
std::string pidFilePath(const char *name) {
    const std::string_view text = name == nullptr ? "" : name;
    const bool isName = !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return zandorin::isAlphanumeric(c) || c == '_' || c == '-';
    });
    return isName ? zandorin::appliancePath("/var/run/" + std::string(text) + ".pid") : "";
}

std::optional<Holder> readHolder(const std::string &path) {
    const auto contents = zandorin::readFile(path, 256);
    const std::vector<std::string> words = split(contents.value_or(""), " \t\r\n");
    if (words.empty())
        return std::nullopt;
    const auto pid = zandorin::parseWhole(words[0]);
    if (!pid || *pid <= 1 || *pid > std::numeric_limits<pid_t>::max())
        return std::nullopt;
    return Holder{static_cast<pid_t>(*pid), words.size() > 1 ? words[1] : ""};
}

/// What /proc/<pid>/stat (proc(5)) says from its field 3 on; empty when it cannot be told. The
/// folder is the kernel's own view of its processes, not a file of the appliance.
std::vector<std::string> statusFields(pid_t pid) {
    const auto line = zandorin::readFile("/proc/" + std::to_string(pid) + "/stat");
    // Field 2, the command's name in brackets, may hold anything.
    const auto bracket = line ? line->rfind(')') : std::string::npos;
    return bracket == std::string::npos ? std::vector<std::string>()
                                        : split(line->substr(bracket + 1), " ");
}

/// Field 22: when the process started.
std::string startTime(const std::vector<std::string> &fields) {
    return fields.size() > 19 ? fields[19] : "";
}

/// Field 3: the process has ended, and only its parent has not asked for its status.
bool isZombie(const std::vector<std::string> &fields) {
    return !fields.empty() && (fields[0] == "Z" || fields[0] == "X");
}

bool isAlive(const Holder &holder) {
    if (::kill(holder.pid, 0) != 0 && errno != EPERM)
        return false;
    const std::vector<std::string> fields = statusFields(holder.pid);
    const std::string started = startTime(fields);
    return !isZombie(fields) &&
           (holder.started.empty() || started.empty() || started == holder.started);
}

bool isHeldByAnother(const std::string &path) {
    const auto holder = readHolder(path);
    return holder && holder->pid != ::getpid() && isAlive(*holder);
}

} // namespace

int pidfile_valid(const char *name) {
    return isHeldByAnother(pidFilePath(name)) ? 0 : -1;
}

int pidfile_create(const char *name) {
    const std::string path = pidFilePath(name);
    if (path.empty()) {
        errno = EINVAL;
        return -1;
    }
    // Nobody becomes the holder between the look and the write.
    const zandorin::UniqueFd lock = zandorin::lockFile(path + ".lock", lock_patience);
    if (!lock)
        return -1;
    if (isHeldByAnother(path)) {
        errno = EBUSY;
        return -1;
    }
    const pid_t self = ::getpid();
    const std::string contents = std::to_string(self) + "\n" + startTime(statusFields(self)) + "\n";
    return zandorin::replaceFile(path, contents, 0644, zandorin::Durable::no) ? 0 : -1;
}

int pidfile_clear(const char *name) {
    const std::string path = pidFilePath(name);
    const auto holder = readHolder(path);
    return holder && holder->pid == ::getpid() && ::unlink(path.c_str()) == 0 ? 0 : -1;
}
