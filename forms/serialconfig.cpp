#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/listen_ports.h"
#include "settings/devices.h"
#include "settings/fields.h"
#include "settings/problems.h"
#include "settings/registry.h"
#include "settings/values.h"
#include "util/escape.h"
#include "util/strings.h"

// How each serial port speaks to the device at its other end, and how people and programs reach it.

namespace zandorin::settings {
namespace {

std::vector<Option> ports(const ConfigManager &config, const std::string &) {
    std::vector<Option> options;
    for (unsigned number = 1; number <= portCount(config); ++number)
        options.emplace_back(std::to_string(number),
                             std::to_string(number) + ": " + portLabel(config, number));
    return options;
}

std::vector<Option> outlets(const ConfigManager &config, const std::string &) {
    return outletOptions(config);
}

// What holds without a choice comes first.
constexpr Choice modes[] = {
    {"console", "Console server"},
    {"network", "Network access"},
    {"device", "Managed device"},
    {"login", "Login to the appliance"},
    {"off", "Off"},
};
constexpr Choice speeds[] = {{"1200", ""},  {"2400", ""},   {"4800", ""},
                             {"9600", ""},  {"19200", ""},  {"38400", ""},
                             {"57600", ""}, {"115200", ""}, {"230400", ""}};
constexpr Choice sizes[] = {{"8", "8"}, {"7", "7"}, {"6", "6"}, {"5", "5"}};
constexpr Choice stops[] = {{"1", "1"}, {"1.5", "1.5"}, {"2", "2"}};
constexpr Choice parities[] = {
    {"None", "None"}, {"Odd", "Odd"}, {"Even", "Even"}, {"Mark", "Mark"}, {"Space", "Space"}};
constexpr Choice flow_controls[] = {
    {"None", "None"}, {"Hardware", "Hardware (RTS/CTS)"}, {"Software", "Software (XON/XOFF)"}};
constexpr Choice dtr_times[] = {{"always", "Always"}, {"session", "While the port is in use"}};
constexpr Choice log_modes[] = {
    {"received", "What the device sends"},
    {"both", "What the device sends and what is typed"},
    {"connections", "Connections only"},
    {"off", "Nothing"},
};
constexpr Choice protocols[] = {
    {"raw", "TCP"}, {"telnet", "Telnet (RFC 2217)"}, {"tls", "TCP with TLS"}};
constexpr Choice device_types[] = {
    {"None", "None"}, {"ups", "UPS"}, {"rpc", "RPC"}, {"enviro", "Environmental"}};

constexpr Field port[] = {
    {.label = "Label",
     .key = ".label",
     .type = "unsafe_printable",
     .help = "What the port is called, such as the name of its device.",
     .standard = "Port <n>",
     .alone = true},
    menuField(
        "Mode", ".mode", modes,
        "<b>Console server</b>: terminals in this console and by SSH. <b>Network access</b>: a "
        "program on another computer speaks to the device. <b>Managed device</b>: the "
        "appliance itself does. <b>Login to the appliance</b>: somebody at the other end logs "
        "in."),
};

constexpr Field line[] = {
    {.label = "Baud Rate",
     .key = ".speed",
     .type = "numeric",
     .choices = speeds,
     .help = "Bits per second, 50 to 921600. Empty: 9600.",
     .maxlength = 6,
     .least = 50,
     .most = 921600,
     .standard = "9600",
     .note = "Bits per second, 50 to 921600. With one set the serial ports count as set up."},
    menuField("Data Bits", ".charsize", sizes),
    menuField("Parity", ".parity", parities,
              "The bit that makes the ones of a character an odd or an even number, is always one "
              "(Mark) or always zero (Space)."),
    menuField("Stop Bits", ".stop", stops),
    menuField("Flow Control", ".flowcontrol", flow_controls,
              "How one end makes the other wait: by wires of its own, or by characters among the "
              "data."),
    menuField("DTR and RTS", ".dtr", dtr_times,
              "When these wires say that somebody is there. Some devices log out when they fall."),
    {.label = "Break Length",
     .key = ".breaklength",
     .type = "numeric",
     .help = "Milliseconds, 100 to 3000. Empty: 250.",
     .maxlength = 4,
     .least = 100,
     .most = 3000,
     .standard = "250"},
};

constexpr Field console[] = {
    {.label = "Escape Character",
     .key = ".escape",
     .help =
         "The letter that, with Ctrl and followed by \"c\", begins a command in a session by SSH. "
         "Empty: E.",
     .maxlength = 1,
     .accepts = [](const std::string &value) { return value[0] >= 'A' && value[0] <= 'Z'; },
     .refusal = "<i>Escape Character</i> is a capital letter, such as E.",
     .standard = "E"},
    numberField("Idle Time", ".idle",
                "Minutes without a key after which who writes is disconnected. Empty: never.",
                10080, 5),
};

constexpr Field log[] = {
    menuField("Log", ".log.mode", log_modes),
    {.label = "Log Size",
     .key = ".log.size",
     .type = "numeric",
     .help = "KiB, 16 to 65536, after which a new file is begun; one older file is kept. Empty: "
             "1024.",
     .maxlength = 5,
     .least = 16,
     .most = 65536,
     .standard = "1024"},
    boxField("Send to Syslog", ".log.syslog",
             "What the device sends is logged by the system as well, and from there on another "
             "computer."),
};

constexpr Field network[] = {
    menuField(
        "Protocol", ".network.protocol", protocols,
        "Telnet lets the other end change the settings of the line. TLS shows the certificate "
        "of this console."),
    {.label = "TCP Port",
     .key = ".network.port",
     .type = "tcpport",
     .help = "1 to 65535. Empty: 4000 and the number of the port.",
     .maxlength = 5,
     .standard = "4000 + n",
     .alone = true},
    {.label = "Allowed Networks",
     .key = ".network.allow",
     .type = "subnetlist",
     .help = "Who may connect, such as 192.168.0.0/24, separated by commas. Empty: everybody."},
    numberField("Idle Time", ".network.idle",
                "Minutes without data after which a connection ends. Empty: never.", 10080, 5),
    boxField("One Connection", ".network.single",
             "Only one at a time. Otherwise several share the port, and each sees all that the "
             "device sends."),
};

constexpr Field device[] = {
    menuField("Device", ".device.type", device_types, "What is managed through the port."),
    {.label = "Power Outlet",
     .key = ".outlet",
     .type = "printable",
     .input = Input::menu,
     .choices = no_choice,
     .options = outlets,
     .help = "The outlet that feeds the device at the port.",
     .alone = true},
};

constexpr Section sections[] = {{"Serial Port", port}, {"Line", line},
                                {"Console", console},  {"Log", log},
                                {"Network", network},  {"Attached Device", device}};

/// Such as "9600 8N1".
std::string lineOf(const ConfigManager &config, const std::string &key) {
    const auto or_ = [&](const char *name, const char *standard) {
        const std::string stored = config.getElement(key + name);
        return stored.empty() ? std::string(standard) : stored;
    };
    return or_(".speed", "9600") + " " + or_(".charsize", "8") + or_(".parity", "None").front() +
           or_(".stop", "1");
}

/// Two programs cannot listen on one TCP port.
void requireOwnTcpPort(const Values &values, Problems &problems) {
    const std::string mode = values.text(".mode");
    if (mode != "network")
        return;
    const std::string place = values.place().keys;
    const auto number = static_cast<unsigned>(leadingNumber(trailingDigits(place)));
    const std::string key = values.keyOf(".network.port");
    const auto typed = parseWhole(values.text(".network.port"));
    const unsigned tcpPort = typed && *typed > 0 && *typed < 65536
                                 ? static_cast<unsigned>(*typed)
                                 : listenPort("network-base") + number;
    const std::string user = tcpPortUser(values.config(), tcpPort, number);
    problems.require(user.empty(), key,
                     "The TCP port " + std::to_string(tcpPort) + " is used by <i>" +
                         encodeSafe(user) + "</i> already.");
}

constexpr Column columns[] = {
    {.title = "Mode", .key = ".mode"},
    {.title = "Line", .status = lineOf},
    {.title = "Flow Control", .key = ".flowcontrol"},
    {.title = "State"},
    {.title = "In Use By"},
};

constexpr Page page = {
    .sections = sections,
    .rule = requireOwnTcpPort,
    .chooser = {.variable = "port",
                .label = "Port",
                .prefix = "config.ports.port",
                .options = ports,
                .unknown = "No such port: ",
                .columns = columns,
                .title = "Serial Ports"},
    .services = "conserver ser2net",
};

const AutoRegisterPage registration("serialconfig", packed<page>());

} // namespace
} // namespace zandorin::settings
