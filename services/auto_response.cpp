#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/libzdsupport/infod.h"
#include "services/autoresponse/rule_file.h"
#include "services/service.h"
#include "settings/records.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"

#include <csignal>

#include <unistd.h>

// Our own daemon of the auto-responses (services/autoresponse). It knows no configuration: it reads
// one file with the values that it needs.

namespace zandorin::services {
namespace {

constexpr const char *command_key = "config.autoresponse.command";

/// All below a key but commands, which are not kept.
void addAll(const ConfigManager &config, const std::string &key, std::string &text) {
    if (const std::string value = config.getElement(key); !value.empty())
        text += responder::writeLine({key, value});
    for (const std::string &name : config.getSubElements(key))
        if (const std::string below = concat({key, ".", name}); below != command_key)
            addAll(config, below, text);
}

/// The network device of an interface, where the configuration does not say another.
std::string usualDevice(const std::string &role) {
    return role == "wan" ? "eth0" : role == "lan" ? "eth1" : "";
}

std::vector<File> files(const ConfigManager &config) {
    std::string text;
    const auto add = [&](const std::string &key, const std::string &value) {
        if (!value.empty())
            text += responder::writeLine({key, value});
    };
    const auto copy = [&](const std::string &key) { add(key, config.getElement(key)); };
    addAll(config, "config.autoresponse", text);
    // Whatever the stored total says; the last line about a key holds.
    const settings::RecordList rules("config.autoresponse", "autoresponse");
    add("config.autoresponse.total", std::to_string(rules.next(config) - 1));
    for (const char *key : {"config.system.name", "config.system.smtp.subject",
                            "config.system.nagios.name", "config.system.nagios.server",
                            "config.system.nagios.nsca.enabled", "config.system.nagios.nsca.server",
                            "config.system.nagios.nsca.port", "config.system.timezone"})
        copy(key);
    for (unsigned port = 1; port <= portCount(config); ++port)
        add(portReference(port) + ".label", portLabel(config, port));
    for (const std::string &role : config.getInterfaces()) {
        const std::string key = concat({"config.interfaces.", role, ".device"});
        const std::string stored = config.getElement(key);
        add(key, stored.empty() ? usualDevice(role) : stored);
    }
    return {{.path = responder::rules_path, .text = text}};
}

std::string run(const ConfigManager & /*config*/) {
    return "exec " + shellQuote(appliancePath("/bin/auto-response")) + "\n";
}

bool isHealthy(const ConfigManager & /*config*/) {
    return ::access(appliancePath(infod_socket).c_str(), F_OK) == 0;
}

/// A command waits in the configuration for whoever runs this: it is taken out and handed over.
bool handOver(const ConfigManager &config) {
    if (config.getElement(command_key).empty())
        return true;
    ConfigManager own("/etc/config/config.xml", ".");
    if (!own.readCommitted())
        return true;
    const std::string command = own.getElement(command_key);
    own.delElement(command_key);
    if (command.empty() || !own.write())
        return true; // somebody else has it, or the next run
    if (infod_push_text(command_key, 1, command.c_str()) != 0)
        logRecord(Priority::error, "No service of auto-responses takes the command '%s'",
                  command.c_str());
    return true;
}

} // namespace

extern const Service auto_response = {
    .name = "auto-response",
    .pages = "autoresponse serialconfig systemsettings time smtp nagios ipconfig",
    .files = files,
    .run = run,
    .reload = SIGHUP,
    .isHealthy = isHealthy,
    .prepare = handOver};

} // namespace zandorin::services
