#include "platform/libzandorin/service_state.h"

#include "util/fd.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/strings.h"

#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zandorin {

namespace {

std::string pathOf(const std::string &name) {
    return appliancePath("/var/run/services/" + name);
}

constexpr char elsewhere = '*'; // after the time of the last change

} // namespace

std::vector<std::string> serviceNames() {
    std::vector<std::string> names = namesIn(pathOf(""), "");
    std::erase_if(names,
                  [](const std::string &name) { return name.find('.') != std::string::npos; });
    return names;
}

ServiceHistory serviceHistory(const std::string &name) {
    constexpr std::size_t limit = std::size_t{64} * 1024;
    const std::string text = readFile(pathOf(name), limit).value_or("");
    const auto first = text.find('\n');
    const auto second = first == std::string::npos ? first : text.find('\n', first + 1);
    if (second == std::string::npos)
        return {};
    return {.changed = leadingNumber(text),
            .isElsewhere = std::string_view(text).substr(0, first).ends_with(elsewhere),
            .refused = leadingNumber(std::string_view(text).substr(first + 1)),
            .words = text.substr(second + 1)};
}

bool keepServiceHistory(const std::string &name, const ServiceHistory &history) {
    constexpr mode_t folder = 0755;
    constexpr mode_t own = 0600;
    makeFolder(appliancePath("/var/run/services"), folder);
    return replaceFile(pathOf(name),
                       std::to_string(history.changed) +
                           (history.isElsewhere ? std::string(1, elsewhere) : "") + "\n" +
                           std::to_string(history.refused) + "\n" + history.words,
                       own, Durable::no);
}

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

} // namespace zandorin
