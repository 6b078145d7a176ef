#include "services/ports/port_service.h"
#include "services/ports/states.h"
#include "util/json.h"
#include "util/strings.h"

// What the port service asks conserver, and answers to whoever asks.

namespace zandorin::ports {

namespace {

using namespace std::chrono_literals;

constexpr auto state_lifetime = 1s; ///< of what conserver said last

} // namespace

void PortService::askStates() {
    if (asking_.isRunning())
        return;
    isStale_ = false;
    asking_ = ConsoleQuery({"-i"});
}

void PortService::askConsoles(Connection &connection) {
    connection.asksStates = true;
    if (isStale_ || Clock::now() - asked_ >= state_lifetime)
        askStates();
    if (!asking_.isRunning())
        answerStates();
}

void PortService::readStates() {
    if (!asking_.read())
        return;
    asked_ = Clock::now();
    consoles_ = readConsoleStates(asking_.text());
    answerStates();
}

void PortService::answerStates() {
    std::optional<std::string> states;
    for (Connection &each : connections_) {
        if (each.terminal)
            tellState(each);
        if (!each.asksStates || each.isEnding)
            continue;
        if (!each.listsFor.empty()) {
            appendFrame(each.out, 'J', listOf(rights_.config(), consoles_, each.listsFor));
            each.isEnding = true;
            continue;
        }
        if (!states)
            states = writePortStates(statesOf(rights_.config(), consoles_, terminals()));
        appendFrame(each.out, 'J', *states);
        each.isEnding = true;
    }
}

void PortService::command(Connection &connection, const Frame &frame) {
    const auto lines = linesOf(frame.payload, 2);
    const auto at = lines.front().rfind('@');
    const std::string user = lines.front().substr(0, at);
    const std::string target = at == std::string::npos ? "" : lines.front().substr(at + 1);
    std::vector<std::string> arguments = {"-d", lines.front()};
    if (frame.type == 'M')
        arguments = {"-t", lines.front(), lines.back()};
    else
        for (Connection &each : connections_)
            if (each.terminal && !each.isEnding && each.terminal->grant().user == user &&
                each.terminal->grant().target == target) {
                end(each, "An administrator has ended this terminal.", false);
                connection.isDone = true;
            }
    connection.command = &commands_.emplace_back(arguments);
    isStale_ = true;
}

void PortService::readCommands() {
    for (auto command = commands_.begin(); command != commands_.end();) {
        if (!command->read()) {
            ++command;
            continue;
        }
        for (Connection &each : connections_)
            if (each.command == &*command) {
                // It succeeds, too, when there was nobody: "disconnected 0 users".
                const bool isReached = command->text().find(" 0 user") == std::string::npos;
                appendFrame(each.out, 'J', isReached || each.isDone ? "ok" : "failed");
                each.command = nullptr;
                each.isEnding = true;
            }
        command = commands_.erase(command);
    }
}

void PortService::tellState(Connection &connection) {
    if (!connection.terminal || connection.isEnding)
        return;
    const Terminal &terminal = *connection.terminal;
    std::string writer;
    for (const ConsoleState &console : consoles_)
        if (console.name == terminal.grant().target)
            for (const PortUser &user : console.users)
                if (user.writes)
                    writer = user.user;
    const std::string state = concat(
        {"{\"mode\":", terminal.writes() ? "\"write\"" : "\"watch\"",
         ",\"mayWrite\":", terminal.grant().watches ? "false" : "true",
         ",\"writer\":", jsonString(terminal.writes() ? terminal.grant().user : writer), "}"});
    if (state == connection.shown)
        return;
    connection.shown = state;
    appendFrame(connection.out, 'S', state);
}

} // namespace zandorin::ports
