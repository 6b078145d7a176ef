#include "platform/libzandorin/serial_ports.h"
#include "settings/fields.h"
#include "settings/registry.h"

// How each serial port speaks to the device at its other end.

namespace zandorin::settings {
namespace {

std::vector<Option> ports(const ConfigManager &config, const std::string &) {
    std::vector<Option> options;
    for (unsigned number = 1; number <= portCount(config); ++number)
        options.emplace_back(std::to_string(number), portLabel(config, number));
    return options;
}

// What holds without a choice comes first.
constexpr Choice sizes[] = {{"8", "8"}, {"7", "7"}, {"6", "6"}, {"5", "5"}};
constexpr Choice stops[] = {{"1", "1"}, {"1.5", "1.5"}, {"2", "2"}};
constexpr Choice parities[] = {
    {"None", "None"}, {"Odd", "Odd"}, {"Even", "Even"}, {"Mark", "Mark"}, {"Space", "Space"}};
constexpr Choice flow_controls[] = {
    {"None", "None"}, {"Hardware", "Hardware (RTS/CTS)"}, {"Software", "Software (XON/XOFF)"}};

constexpr Field port[] = {
    {.label = "Label",
     .key = ".label",
     .type = "printable",
     .help = "What the port is called, such as the name of its device.",
     .standard = "Port <n>"},
};

constexpr Field line[] = {
    {.label = "Baud Rate",
     .key = ".speed",
     .type = "numeric",
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
};

constexpr Section sections[] = {{"Serial Port", port}, {"Line", line}};

constexpr Page page = {
    .sections = sections,
    .chooser = {.variable = "port",
                .label = "Port",
                .help = "Each has settings of its own. Apply before you change to another.",
                .prefix = "config.ports.port",
                .options = ports,
                .unknown = "No such port: "},
};

const AutoRegisterPage registration("serialconfig", packed<page>());

} // namespace
} // namespace zandorin::settings
