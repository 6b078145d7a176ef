#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/listen_ports.h"
#include "platform/ports/port_access.h"
#include "platform/ports/port_settings.h"
#include "platform/ports/port_status.h"
#include "settings/records.h"
#include "ui/form.h"
#include "ui/inputs.h"
#include "ui/page.h"
#include "ui/port_words.h"
#include "ui/table.h"
#include "ui/terminal_page.h"
#include "util/environment.h"
#include "util/escape.h"
#include "util/strings.h"

// The serial ports that somebody may use, each with its roads in; and the terminal of one of them.

namespace zandorin {
namespace {

constexpr std::size_t longest_last_line = 80;

/// The name under which the browser reached the console, and others reach its other services.
std::string ownName() {
    const std::string host(environmentVariable("HTTP_HOST"));
    const auto colon = host.rfind(':');
    const bool isPort = colon != std::string::npos && host.find(']', colon) == std::string::npos;
    return isPort ? host.substr(0, colon) : host;
}

/// What is to be typed in on another computer; "" for a mode that nobody reaches from there.
std::string addressOf(Engine &engine, const PortSettings &port) {
    const std::string host = ownName();
    if (port.mode == PortMode::network)
        return host + ":" + std::to_string(port.tcpPort);
    if (port.mode != PortMode::console ||
        !engine.config().getBoolean("config.services.ssh.enabled"))
        return "";
    const unsigned ssh = sshPort(engine.config());
    return "ssh -t " + (ssh == 22 ? "" : "-p " + std::to_string(ssh) + " ") +
           engine.getCurrentUsername() + "@" + host + " " + portName(port.number);
}

std::string links(const PortSettings &port) {
    const std::string number = std::to_string(port.number);
    std::string html;
    if (port.mode == PortMode::console)
        html = ui::link("?form=portaccess&port=" + number, "Terminal") + " " +
               ui::link("?form=portaccess&watch=1&port=" + number, "Watch") + " ";
    return html + ui::link("?form=portbuffers&port=" + number, "Log");
}

void portRow(Engine &engine, ui::Table &table, const PortSettings &port, const PortState *state) {
    table.openRow();
    table.cell("field-input", std::to_string(port.number));
    table.cell("field-input", port.label);
    table.unsafeCell("field-input", links(port));
    table.cell("field-input", ui::stateWords(port, state));
    table.cell("field-input", state == nullptr ? "" : ui::usersOf(*state));
    const std::string address = addressOf(engine, port);
    std::string last = state == nullptr ? "" : state->last;
    if (last.size() > longest_last_line)
        last.resize(longest_last_line);
    table.unsafeCell("field-input",
                     (last.empty() ? "" : "<samp>" + escapeUtf8Text(last) + "</samp><br>") +
                         (address.empty() ? "" : "<code>" + encodeSafe(address) + "</code>"));
    table.closeRow();
}

void searchForm(Cgi &cgi, Engine &engine, const std::string &words) {
    ui::Form form(cgi, engine.formId());
    form.openForm("get", "find");
    ui::Table table(cgi);
    table.open();
    table.inputRow("Label", ui::textInput({.name = "find", .value = words, .unsafe = true}) + " " +
                                ui::getApplyButton("show", "Search"));
    table.close();
    form.closeForm();
}

void showList(Engine &engine, Cgi &cgi) {
    const ConfigManager &config = engine.config();
    const PortAccess access(config, engine.getCurrentUsername());
    const std::string words = cgi.getVarString("find").raw;
    searchForm(cgi, engine, words);
    const auto states = portStates();
    if (!states)
        cgi << ui::getError(ui::no_port_service);
    ui::Table table(cgi);
    table.open();
    table.openRow();
    for (const char *title : {"Port", "Label", "", "State", "In Use By", "Last Line and Address"})
        table.cell("field-label", title);
    table.closeRow();
    bool any = false;
    for (unsigned number = 1; number <= portCount(config); ++number) {
        if (!access.has(number) ||
            findIgnoringCase(portLabel(config, number), words) == std::string_view::npos)
            continue;
        any = true;
        portRow(engine, table, portSettings(config, number), stateOf(states, number));
    }
    if (!any)
        table.textRow(words.empty()
                          ? "None: an administrator assigns ports to you or to your groups."
                          : "No port of yours has such a label.");
    table.close();
}

/// The port of another appliance that `target` ("attic/port3") names, by its record; none when it
/// names none.
bool isSlavePort(const ConfigManager &config, const std::string &target) {
    const auto slash = target.find("/port");
    const settings::RecordList slaves("config.slaves", "slave");
    const auto slave = slash == std::string::npos
                           ? std::nullopt
                           : slaves.find(config, ".name", target.substr(0, slash));
    const auto number = slave ? parseWhole(target.substr(slash + 5)) : std::nullopt;
    return number && *number >= 1 && *number <= slavePortCount(config, slaves.keyOf(*slave));
}

void showSlaves(const ConfigManager &config, Cgi &cgi) {
    const settings::RecordList slaves("config.slaves", "slave");
    for (const unsigned record : slaves.numbers(config)) {
        const std::string key = slaves.keyOf(record);
        const std::string name = config.getElement(key + ".name");
        std::string links;
        for (unsigned port = 1; port <= slavePortCount(config, key); ++port)
            links +=
                ui::link(concat({"?form=portaccess&port=", name, "/port", std::to_string(port)}),
                         std::to_string(port)) +
                " ";
        ui::Table table(cgi);
        table.open();
        table.titleRow(name);
        table.inputRow(
            "Terminals", links,
            encodeSafe("Ports of the appliance at " + config.getElement(key + ".address")));
        table.close();
    }
}

void render(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    const std::string port = cgi->getVarString("port").raw;
    if (port.empty()) {
        showList(engine, *cgi);
        showSlaves(engine.config(), *cgi);
        return;
    }
    if (isSlavePort(engine.config(), port)) {
        ui::showTerminal(engine, port, port, cgi->varStringExists("watch"));
        return;
    }
    const auto number = parseWhole(port);
    if (number && *number >= 1 && *number <= portCount(engine.config()) &&
        mayUsePort(engine.config(), engine.getCurrentUsername(), static_cast<unsigned>(*number)))
        ui::showTerminal(engine, portName(static_cast<unsigned>(*number)),
                         portLabel(engine.config(), static_cast<unsigned>(*number)),
                         cgi->varStringExists("watch"));
    else
        cgi->addError("No such port: " + encodeSafe(port));
}

const AutoRegisterFormlet registration("portaccess", nullptr, render);

} // namespace
} // namespace zandorin
