#include "platform/accounts/user_store.h"
#include "platform/libzandorin/config_manager.h"
#include "platform/libzdsupport/roles.h"
#include "platform/ports/listen_ports.h"
#include "services/service.h"
#include "services/sockets.h"
#include "settings/records.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/process_pipe.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>
#include <csignal>

#include <sys/stat.h>
#include <unistd.h>

// sshd(8): administrators get a shell, everybody else the menu of their ports, and nothing else of
// the appliance.

namespace zandorin::services {
namespace {

constexpr const char *host_key = "/etc/config/ssh_host_ed25519_key";
constexpr const char *message_of_the_day = "/etc/config/motd";

bool isDevelopment() {
    return !applianceRoot().empty();
}

bool makeKeys(const ConfigManager & /*config*/) {
    // Where sshd keeps its unprivileged part when root runs it.
    constexpr const char *empty_folder = "/run/sshd";
    constexpr mode_t readable = 0755;
    if (::geteuid() == 0 && ::access(empty_folder, F_OK) != 0 &&
        !makeFolder(empty_folder, readable))
        return false;
    const std::string path = appliancePath(host_key);
    if (::access(path.c_str(), R_OK) == 0)
        return true;
    constexpr int patience = 30000; // milliseconds
    ipipestream keygen("exec ssh-keygen -q -t ed25519 -N '' -f " + shellQuote(path), patience);
    return keygen.success();
}

/// What a Match block says of one user; "" for nothing.
std::string matchOf(const ConfigManager &config, const std::string &name, const std::string &key) {
    utilities::Roles roles;
    const bool isKnown = roles_add_from_user(roles.handle(), name.c_str(), config) == 0;
    std::string words;
    if (isKnown && roles_has(roles.get(), "admin"))
        words += "    ForceCommand none\n    AllowTcpForwarding yes\n";
    if (config.getBoolean(key + ".ssh_pubkey_only"))
        words += "    PasswordAuthentication no\n";
    return words.empty() ? "" : "Match User " + name + "\n" + words;
}

/// The accounts as sshd reads them in development, where all of them are whoever runs it.
std::string developmentAccounts() {
    const std::string ids =
        ":" + std::to_string(::geteuid()) + ":" + std::to_string(::getegid()) + ":";
    std::string accounts;
    for (const std::string &line :
         utilities::split(readFile(appliancePath("/etc/config/passwd")).value_or(""), "\n")) {
        std::vector<std::string> fields;
        for (std::size_t at = 0; fields.size() < 7;) {
            const auto end = line.find(':', at);
            fields.push_back(line.substr(at, end - at));
            if (end == std::string::npos)
                break;
            at = end + 1;
        }
        if (fields.size() == 7)
            accounts += fields[0] + ":" + fields[1] + ids + fields[4] + ":" +
                        appliancePath(fields[5]) + ":" + fields[6] + "\n";
    }
    return accounts + "sshd:x" + ids + "sshd:/run/sshd:/usr/sbin/nologin\n";
}

bool isOn(const ConfigManager &config) {
    return config.getBoolean("config.services.ssh.enabled");
}

std::vector<File> files(const ConfigManager &config) {
    std::string text = "Port " + std::to_string(sshPort(config)) + "\nHostKey " +
                       appliancePath(host_key) +
                       "\nPidFile none\nUsePAM no\nPermitRootLogin yes\nStrictModes no\n"
                       "AuthorizedKeysFile .ssh/authorized_keys\nX11Forwarding no\n"
                       "AllowTcpForwarding no\nAllowAgentForwarding no\nPermitTunnel no\n"
                       "PermitUserEnvironment no\nMaxSessions 4\nLoginGraceTime 30\n"
                       "ClientAliveInterval 30\nClientAliveCountMax 4\n";
    if (isDevelopment())
        text +=
            "ListenAddress " + localAddress() + "\nSetEnv ZANDORIN_ROOT=" + applianceRoot() + "\n";
    if (::access(appliancePath(message_of_the_day).c_str(), R_OK) == 0)
        text += "Banner " + appliancePath(message_of_the_day) + "\n";
    text += "ForceCommand " + appliancePath("/bin/port-menu") + "\n";
    std::string matches = "Match User root\n    ForceCommand none\n    AllowTcpForwarding yes\n";
    std::string denied;
    const settings::RecordList users("config.users", "user");
    for (const unsigned number : users.numbers(config)) {
        const std::string key = users.keyOf(number);
        const std::string name = config.getElement(key + ".username");
        if (!user_isname(name))
            continue;
        if (config.getBoolean(key + ".disabled"))
            denied += " " + name;
        matches += matchOf(config, name, key);
    }
    if (!denied.empty())
        text += "DenyUsers" + denied + "\n";
    std::vector<File> all = {{.path = "/etc/ssh/sshd_config", .text = text + matches}};
    if (isDevelopment())
        all.push_back({.path = "/etc/ssh/passwd", .text = developmentAccounts()});
    return all;
}

std::string environment() {
    if (!isDevelopment())
        return "";
    return "LD_PRELOAD=libnss_wrapper.so NSS_WRAPPER_PASSWD=" +
           shellQuote(appliancePath("/etc/ssh/passwd")) +
           " NSS_WRAPPER_GROUP=" + shellQuote(appliancePath("/etc/config/group")) + " ";
}

std::string run(const ConfigManager & /*config*/) {
    return "exec env " + environment() + "/usr/sbin/sshd -D -e -f " +
           shellQuote(appliancePath("/etc/ssh/sshd_config")) + "\n";
}

std::vector<std::string> checker(const std::vector<File> &files) {
    return {"/usr/sbin/sshd", "-t", "-f", candidatePath(files.front())};
}

bool isHealthy(const ConfigManager &config) {
    return acceptsConnections(localAddress(), sshPort(config));
}

} // namespace

extern const Service sshd = {.name = "sshd",
                             .pages = "services users systemsettings",
                             .isOn = isOn,
                             .files = files,
                             .run = run,
                             .checker = checker,
                             .reload = SIGHUP,
                             .isHealthy = isHealthy,
                             .prepare = makeKeys};

} // namespace zandorin::services
