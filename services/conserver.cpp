#include "platform/accounts/accounts.h"
#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/listen_ports.h"
#include "platform/ports/port_access.h"
#include "platform/ports/port_settings.h"
#include "services/quoting.h"
#include "services/service.h"
#include "services/sockets.h"
#include "settings/records.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/process_pipe.h"
#include "util/split.h"
#include "util/strings.h"

#include <array>
#include <csignal>

#include <sys/random.h>
#include <unistd.h>

// conserver(8): the serial ports in mode console, and the ports of other appliances, which are the
// masters of theirs. Who wants a port must know a secret that only the port service reads; the port
// service knows who is asking. Other appliances are trusted by their addresses.

namespace zandorin::services {
namespace {

constexpr const char *secret_path = "/etc/conserver/secret";

bool makeSecret(const ConfigManager & /*config*/) {
    constexpr mode_t own = 0600;
    constexpr mode_t folder = 0700;
    const std::string path = appliancePath(secret_path);
    if (::access(path.c_str(), R_OK) == 0)
        return true;
    std::array<unsigned char, 24> random = {};
    if (::getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size()))
        return false;
    std::string secret;
    for (const unsigned char byte : random)
        secret += "abcdefghijklmnopqrstuvwxyz012345"[byte % 32];
    makeFolder(appliancePath("/etc/conserver"), folder);
    return replaceFile(path, secret, own);
}

std::string quotedPath(const std::string &path) {
    return conserverWord(appliancePath(path));
}

/// Everybody who may write on a port, each user that the configuration knows being asked for.
std::vector<std::string> knownUsers(const ConfigManager &config) {
    std::vector<std::string> names = {"root"};
    const settings::RecordList users("config.users", "user");
    for (const unsigned number : users.numbers(config))
        if (const std::string name = config.getElement(users.keyOf(number) + ".username");
            !name.empty() && name != "root")
            names.push_back(name);
    return names;
}

std::string logOf(const PortSettings &port) {
    // Of connections alone conserver keeps no log; the port service does.
    if (port.log == PortLog::off || port.log == PortLog::connections)
        return "";
    // Lines with their times, who came and went, and breaks.
    return "  logfile " + conserverWord(portLogFile(port.number)) + "; timestamp 1lab;\n";
}

/// All that port-line sets, for readers, and so that a change of it is a change of the file.
std::string lineOf(const PortSettings &port) {
    std::string words = "  # line:";
    for (const unsigned value :
         {port.speed, port.bits, static_cast<unsigned>(port.parity),
          static_cast<unsigned>(port.stop), static_cast<unsigned>(port.flow)})
        words += " " + std::to_string(value);
    return words + "\n";
}

std::string consoleOf(const PortSettings &port, const std::string &users) {
    // The nearest word that conserver has; port-line sets the line exactly once it is open.
    const std::string line = quotedPath("/bin/port-line") + "\\ " + std::to_string(port.number);
    return "console " + portName(port.number) + " {\n" + lineOf(port) +
           "  master localhost; type device; device " + conserverWord(serialDevice(port.number)) +
           "; baud 9600; parity none;\n  options !ixon, !ixoff, autoreinit, reinitoncc" +
           (port.dtrOnlyInUse ? ", hupcl, ondemand" : ", !hupcl") + ";\n  initcmd " + line +
           "; rw " + users + ";\n" + logOf(port) + "}\n";
}

bool isOn(const ConfigManager &config) {
    return portCount(config) > 0;
}

std::vector<File> files(const ConfigManager &config) {
    const std::string secret = readFile(appliancePath(secret_path), 4096).value_or("");
    const std::string port = std::to_string(listenPort("conserver"));
    std::string text = "config * {\n  primaryport " + port +
                       "; secondaryport 0; daemonmode no; defaultaccess rejected;\n"
                       "  passwdfile " +
                       quotedPath("/etc/conserver/passwd") +
                       "; reinitcheck 1; redirect yes; sslrequired no; initdelay 0;\n}\n";
    // Other appliances first: of two words about one address the first holds.
    text += "access * {";
    for (const std::string &network :
         utilities::split(config.getElement("config.slaves.accept"), ", "))
        text += " trusted " + conserverWord(network) + ";";
    text += " allowed 127.0.0.1; admin root; limited \"*\"; }\n"
            "default * { master localhost; }\n";
    const auto names = knownUsers(config);
    std::vector<PortAccess> access;
    access.reserve(names.size());
    for (const std::string &name : names)
        access.emplace_back(config, name);
    for (unsigned number = 1; number <= portCount(config); ++number) {
        const PortSettings settings = portSettings(config, number);
        if (settings.mode != PortMode::console)
            continue;
        std::string users;
        for (std::size_t i = 0; i < names.size(); ++i)
            if (access[i].has(number))
                users += (users.empty() ? "" : ",") + conserverWord(names[i]);
        text += consoleOf(settings, users);
    }
    // The hash of a long random text need not be slow.
    const std::string hash = user_getcryptedpassword(secret, PasswordHash::sha512);
    const std::string old = readFile(appliancePath("/etc/conserver/passwd"), 4096).value_or("");
    return {{.path = "/etc/conserver/conserver.cf", .text = text},
            {.path = "/etc/conserver/passwd",
             .text = old.starts_with("*any*:") ? old : "*any*:" + hash + "\n"},
            {.path = "/etc/conserver/console.cf", .text = "config * { port " + port + "; }\n"}};
}

std::string run(const ConfigManager &config) {
    // The address of this machine alone, unless others may come.
    const bool isShared =
        applianceRoot().empty() && !config.getElement("config.slaves.accept").empty();
    // Its children hold the ports, and outlive one that was killed.
    return "pkill -KILL -x -s 0 conserver\nexec conserver -C " +
           shellQuote(appliancePath("/etc/conserver/conserver.cf")) +
           (isShared ? "" : " -M " + localAddress()) + "\n";
}

std::vector<std::string> checker(const std::vector<File> &files) {
    return {"conserver", "-S", "-C", candidatePath(files.front())};
}

bool isHealthy(const ConfigManager & /*config*/) {
    return acceptsConnections(localAddress(), listenPort("conserver"));
}

/// conserver has port-line set a port that it opens; one that is open already keeps its line.
void setLines(const ConfigManager &config) {
    std::string line = "exec " + shellQuote(appliancePath("/bin/port-line"));
    for (unsigned number = 1; number <= portCount(config); ++number)
        if (portSettings(config, number).mode == PortMode::console &&
            ::access(serialDevice(number).c_str(), F_OK) == 0)
            line += " " + std::to_string(number);
    constexpr int patience = 5000; // milliseconds
    ipipestream lines(line, patience);
    lines.wait();
}

} // namespace

extern const Service conserver = {.name = "conserver",
                                  .pages = "serialconfig slaves users",
                                  .isOn = isOn,
                                  .files = files,
                                  .run = run,
                                  .checker = checker,
                                  .reload = SIGHUP,
                                  .isHealthy = isHealthy,
                                  .settle = setLines,
                                  .prepare = makeSecret};

} // namespace zandorin::services
