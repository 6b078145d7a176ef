#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/listen_ports.h"
#include "platform/ports/port_settings.h"
#include "services/service.h"
#include "util/paths.h"
#include "util/strings.h"

// agetty(8) on the serial ports in mode login: somebody at the other end logs in to the appliance.

namespace zandorin::services {
namespace {

constexpr const char *port_script = "/etc/login/port";

/// Who logs in is asked by login(1), which only root can run and which knows the machine's accounts
/// alone. In development SSH asks instead.
std::string loginProgram(const ConfigManager &config) {
    if (applianceRoot().empty())
        return "";
    return "--login-program /usr/bin/ssh --login-options '-q -p " +
           std::to_string(sshPort(config)) +
           " -o UserKnownHostsFile=/dev/null -o StrictHostKeyChecking=no -l \\u 127.0.0.1' ";
}

bool isOn(const ConfigManager &config) {
    for (unsigned number = 1; number <= portCount(config); ++number)
        if (portSettings(config, number).mode == PortMode::login)
            return true;
    return false;
}

/// One port, over and over: agetty ends when the login does. It looks for its device below /dev.
std::vector<File> files(const ConfigManager &config) {
    constexpr mode_t executable = 0700;
    return {{.path = port_script,
             .text = "#!/bin/sh\nwhile :; do\n    " + shellQuote(appliancePath("/bin/port-line")) +
                     " \"$1\"\n    device=$(readlink -e \"$2\") &&\n"
                     "        setpriv --pdeathsig HUP setsid agetty --8bits --keep-baud "
                     "--local-line=always --noclear " +
                     loginProgram(config) + "\"${device#/dev/}\" \"$3\" vt102\n    sleep 1\ndone\n",
             .mode = executable}};
}

std::string run(const ConfigManager &config) {
    std::string ports;
    for (unsigned number = 1; number <= portCount(config); ++number)
        if (const PortSettings port = portSettings(config, number); port.mode == PortMode::login)
            ports += "setpriv --pdeathsig TERM " + shellQuote(appliancePath(port_script)) + " " +
                     std::to_string(number) + " " + shellQuote(serialDevice(number)) + " " +
                     std::to_string(port.speed) + " &\n";
    return "trap 'exit 0' TERM\n" + ports + "wait\n";
}

} // namespace

extern const Service login = {
    .name = "login", .pages = "serialconfig services", .isOn = isOn, .files = files, .run = run};

} // namespace zandorin::services
