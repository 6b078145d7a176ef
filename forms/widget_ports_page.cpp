#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/port_access.h"
#include "platform/ports/port_status.h"
#include "ui/page.h"
#include "ui/port_words.h"
#include "ui/table.h"
#include "util/strings.h"

// The dashboard's panel of the serial ports: how many are up, and who is on which.

namespace zandorin {
namespace {

void render(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    ui::Table table(*cgi);
    table.open();
    table.titleRow("Port Users");
    const auto states = portStates();
    if (!states) {
        table.textRow(ui::no_port_service);
        table.close();
        return;
    }
    const PortAccess access(engine.config(), engine.getCurrentUsername());
    unsigned up = 0;
    for (const PortState &port : *states)
        up += port.state == "up" ? 1 : 0;
    table.labelledTextRow("Console ports that are up",
                          std::to_string(up) + " of " + std::to_string(states->size()));
    for (const PortState &port : *states) {
        if (port.users.empty() || !access.has(port.number))
            continue;
        table.inputRow(portLabel(engine.config(), port.number),
                       ui::link("?form=portusers", ui::usersOf(port)));
    }
    table.close();
}

const AutoRegisterWidget registration("ports", "Port Users", nullptr, render, 0, nullptr);

} // namespace
} // namespace zandorin
