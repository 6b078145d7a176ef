#include "platform/libzandorin/config_manager.h"
#include "platform/libzdsupport/clock.h"
#include "services/quoting.h"
#include "services/service.h"
#include "settings/records.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/strings.h"

#include <pwd.h>
#include <unistd.h>

// chronyd(8) keeps the clock by the time servers of the page "time". It serves nobody; chronyc(1)
// asks it by a socket of its own user. Below another appliance root it only watches: the clock is
// the machine's.

namespace zandorin::services {
namespace {

constexpr const char *folder = "/var/run/chrony";
constexpr const char *settings_path = "/etc/chrony/chrony.conf";

bool isOn(const ConfigManager &config) {
    const settings::RecordList servers("config.ntp.servers", "server");
    return config.getBoolean("config.ntp.enabled") && !servers.numbers(config).empty();
}

std::vector<File> files(const ConfigManager &config) {
    std::string text;
    const settings::RecordList servers("config.ntp.servers", "server");
    for (const unsigned number : servers.numbers(config)) {
        const std::string key = servers.keyOf(number);
        const std::string address = chronyWord(config.getElement(key + ".address"));
        if (address.empty())
            continue;
        text += config.getElement(key + ".kind") == "pool" ? "pool " : "server ";
        text += address;
        text += config.getBoolean(key + ".preferred") ? " iburst prefer\n" : " iburst\n";
    }
    const std::string run = appliancePath(folder);
    // A clock that is far off is set at the start; later it is only slewed.
    text += "makestep 1 3\nrtcsync\nport 0\ncmdport 0\nbindcmdaddress " +
            appliancePath(utilities::chrony_socket) + "\npidfile " + run +
            "/chronyd.pid\ndriftfile " + run + "/drift\n";
    return {{.path = settings_path, .text = text, .mode = 0644}};
}

/// The folder of its socket must be its own and nobody else's.
bool makeFolderOf(const ConfigManager & /*config*/) {
    constexpr mode_t own = 0700;
    const std::string path = appliancePath(folder);
    return ::access(path.c_str(), W_OK) == 0 || makeFolder(path, own);
}

std::string run(const ConfigManager & /*config*/) {
    const passwd *account = ::getpwuid(::geteuid());
    const std::string user = account == nullptr ? "root" : account->pw_name;
    return "exec chronyd -d " + std::string(applianceRoot().empty() ? "-s" : "-x -U") + " -u " +
           shellQuote(user) + " -f " + shellQuote(appliancePath(settings_path)) + "\n";
}

std::vector<std::string> checker(const std::vector<File> &files) {
    return {"chronyd", "-p", "-f", candidatePath(files.front())};
}

bool isHealthy(const ConfigManager & /*config*/) {
    return ::access(appliancePath(utilities::chrony_socket).c_str(), F_OK) == 0;
}

} // namespace

extern const Service chrony = {.name = "chrony",
                               .pages = "time",
                               .isOn = isOn,
                               .files = files,
                               .run = run,
                               .checker = checker,
                               .isHealthy = isHealthy,
                               .prepare = makeFolderOf};

} // namespace zandorin::services
