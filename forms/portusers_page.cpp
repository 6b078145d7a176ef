#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/port_access.h"
#include "platform/ports/port_status.h"
#include "ui/form.h"
#include "ui/inputs.h"
#include "ui/page.h"
#include "ui/port_words.h"
#include "ui/table.h"
#include "util/escape.h"
#include "util/strings.h"
#include "util/times.h"

// Who is on which serial port. They can be sent a line of text, or disconnected.

namespace zandorin {
namespace {

constexpr int longest_message = 200;
constexpr const char *disconnect = "Disconnect";

/// "anna@port3": whom a command is about. Only the ports of who asks.
struct Target {
    std::string user;
    unsigned port = 0;
};

std::optional<Target> targetOf(Engine &engine, const std::string &text) {
    const auto at = text.rfind("@port");
    if (at == std::string::npos || at == 0)
        return std::nullopt;
    const auto number = parseWhole(text.substr(at + 5));
    if (!number || *number < 1 || *number > portCount(engine.config()))
        return std::nullopt;
    const Target target{.user = text.substr(0, at), .port = static_cast<unsigned>(*number)};
    if (!mayUsePort(engine.config(), engine.getCurrentUsername(), target.port))
        return std::nullopt;
    return target;
}

void act(Engine &engine, Cgi &cgi) {
    const auto target = targetOf(engine, cgi.getVarString("target").raw);
    const std::string message =
        std::string(trim(cgi.getVarString("message", longest_message + 1).raw));
    if (!target) {
        cgi.addError("Nobody is selected.");
        return;
    }
    const std::string name = encodeSafe(target->user + " on port " + std::to_string(target->port));
    if (cgi.getVarString("apply").raw == disconnect) {
        if (disconnectPortUser(target->user, target->port))
            cgi.addMessage("Disconnected: " + name);
        else
            cgi.addError("Not disconnected: " + name);
        return;
    }
    if (message.empty() || hasControlCharacter(message))
        cgi.addError("A message is a line of text.");
    else if (messagePortUser(target->user, target->port,
                             engine.getCurrentUsername() + ": " + message))
        cgi.addMessage("The message was sent to " + name);
    else
        cgi.addError("The message was not sent to " + name);
}

void define(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    if (cgi != nullptr && engine.formWasSubmitted())
        act(engine, *cgi);
}

void userRow(const ConfigManager &config, ui::Table &table, unsigned port, const PortUser &user,
             bool isChosen) {
    table.openRow();
    const std::string target = user.user + "@port" + std::to_string(port);
    table.unsafeCell("field-input",
                     ui::radioInput("target", {{target, user.user}}, isChosen ? target : ""));
    table.cell("field-input", portLabel(config, port));
    table.cell("field-input", user.writes ? "writes" : "watches");
    table.cell("field-input", user.since > 0 ? localTime(user.since) : "");
    table.cell("field-input", user.from.empty() ? "this appliance" : user.from);
    table.cell("field-input", user.via);
    table.cell("field-input", durationWords(user.idle));
    table.closeRow();
}

void render(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    const auto states = portStates();
    if (!states) {
        *cgi << ui::getError(ui::no_port_service);
        return;
    }
    const ConfigManager &config = engine.config();
    const PortAccess access(config, engine.getCurrentUsername());
    ui::Form form(*cgi, engine.formId());
    form.openForm("post", "users", "?form=portusers");
    ui::Table table(*cgi);
    table.open();
    table.openRow();
    for (const char *title : {"User", "Port", "", "Since", "From", "By", "Idle"})
        table.cell("field-label", title);
    table.closeRow();
    bool any = false;
    for (const PortState &state : *states)
        for (const PortUser &user : state.users) {
            if (!access.has(state.number))
                continue;
            userRow(config, table, state.number, user, !any);
            any = true;
        }
    if (!any)
        table.textRow("Nobody is on a port.");
    table.close();
    if (any) {
        table.open();
        table.inputRow("Message", ui::textInput({.name = "message", .maxlength = longest_message}),
                       "A line of text that the selected user sees in the terminal.");
        table.inputRow("", ui::getApplyButton("apply", "Send Message") + " " +
                               ui::getApplyButton("apply", disconnect));
        table.close();
    }
    form.closeForm();
}

const AutoRegisterFormlet registration("portusers", define, render);

} // namespace
} // namespace zandorin
