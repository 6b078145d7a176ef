#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "ui/table.h"
#include "util/lldp.h"
#include "util/paths.h"
#include "util/process_pipe.h"
#include "util/strings.h"

#include <csignal>

#include <unistd.h>

// What the neighbours on the network announce of themselves by LLDP, and what we announce.

namespace zandorin {
namespace {

constexpr const char *client_path = "/sbin/lldpcli";
constexpr int silence_ms = 5000;
constexpr int ending_ms = 500; // from the end of its output to the end of the client

/// What comes first in a system's table, under these labels; the rest follows under its own keys.
constexpr struct {
    const char *key;
    const char *label;
} labels[] = {
    {"chassis.name", "System name"},
    {"chassis.descr", "System description"},
    {"chassis.mac", "Chassis ID"},
    {"chassis.mgmt-ip", "Management address"},
    {"port.ifname", "Port"},
    {"port.mac", "Port ID"},
    {"port.descr", "Port description"},
    {"port.ttl", "Valid for (seconds)"},
    {"age", "Known for"},
    {"via", "Protocol"},
};

/// Has `parse` read the client's output. "" when the client ended well, else what is wrong with it.
template <typename Parse> std::string ask(const char *arguments, Parse parse) {
    const std::string path = appliancePath(client_path);
    if (::access(path.c_str(), X_OK) != 0)
        return std::string("The LLDP client is not installed: ") + client_path;
    // In the shell's place, so that a signal reaches it.
    ipipestream client("exec " + shellQuote(path) + arguments, silence_ms);
    parse(client);
    if (client.success(ending_ms))
        return "";
    const std::string status = client.status_string(0);
    // Nobody else would end it.
    client.kill(SIGTERM);
    return "The LLDP client gave no full answer (" + status + "). Is the LLDP service running?";
}

void systemRows(ui::Table &table, const std::string &title, LldpValues values) {
    table.titleRow(title);
    for (const auto &[key, label] : labels)
        if (const auto value = values.extract(key))
            table.labelledTextRow(label, value.mapped());
    for (const auto &[key, value] : values)
        table.labelledTextRow(key, value);
    table.spacerRow();
}

void renderLldpStatus(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    LldpValues chassis;
    std::map<std::string, LldpValues> neighbours;
    std::string trouble = ask(" -f keyvalue show chassis details",
                              [&](std::istream &output) { chassis = parseLldpChassis(output); });
    // A client that hangs would hang a second time.
    if (trouble.empty())
        trouble = ask(" -f keyvalue show neighbor details",
                      [&](std::istream &output) { neighbours = parseLldpNeighbours(output); });

    ui::Table table(*cgi);
    table.open();
    if (!trouble.empty())
        table.textRow(trouble);
    else if (neighbours.empty())
        table.textRow("No neighbor has announced itself.");
    for (const auto &[interface, neighbour] : neighbours)
        systemRows(table, "Neighbor on " + interface, neighbour);
    if (!chassis.empty())
        systemRows(table, "This appliance", chassis);
    table.close();
}

const AutoRegisterFormlet registration("lldpstatus", nullptr, renderLldpStatus);

} // namespace
} // namespace zandorin
