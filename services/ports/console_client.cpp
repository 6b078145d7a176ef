#include "services/ports/console_client.h"

#include "platform/ports/listen_ports.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>
#include <array>

namespace zandorin::ports {

namespace {

// What begins every command: of the control characters (console takes no other) the one that is
// typed least.
constexpr char escape = '\x1f';
constexpr std::string_view command_keys = "\x1f"
                                          "c";
constexpr const char *escape_name = "^_c"; // as cat -v shows it

/// Words of the client, and whether who reads them may write from then on.
struct Word {
    std::string_view text;
    bool writes;
};
constexpr Word words[] = {
    {"[attached]", true}, {"[bumped ", true},     {"[forced to `spy' mode by ", false},
    {"[no, ", false},     {"[read-only]", false}, {"[spying]", false},
};

std::vector<std::string> piecesOf(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    for (;;) {
        const auto end = text.find(separator);
        pieces.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos)
            return pieces;
        text.remove_prefix(end + 1);
    }
}

/// "w@anna@localhost@12", of who does not write with "@rw" or "@ro" behind.
PortUser userIn(const std::string &text) {
    auto parts = piecesOf(text, '@');
    PortUser user{.writes = parts.front() == "w"};
    if (!user.writes && parts.size() > 4)
        parts.pop_back();
    if (parts.size() < 4)
        return user;
    user.idle = parseWhole(parts.back()).value_or(0);
    for (std::size_t i = 1; i + 2 < parts.size(); ++i)
        user.user += (i > 1 ? "@" : "") + parts[i];
    return user;
}

} // namespace

Command consoleCommand(const std::string &user, const std::string &master,
                       const std::vector<std::string> &more) {
    Command command = helperCommand(
        {"console", "-n", "-C", appliancePath("/etc/conserver/console.cf"), "-M",
         master.empty() ? localAddress() : master, "-p", std::to_string(listenPort("conserver")),
         "-l", user, "-E", "-e", escape_name});
    command.arguments.insert(command.arguments.end(), more.begin(), more.end());
    return command;
}

Command openCommand(const std::string &user, const std::string &master, const std::string &console,
                    bool watches) {
    return consoleCommand(user, master, {watches ? "-S" : "-A", console});
}

std::string breakKeys() {
    return concat({command_keys, "l0"});
}

std::string takeOverKeys() {
    return concat({command_keys, "f"});
}

std::string watchKeys() {
    return concat({command_keys, "s"});
}

std::string literalKeys(std::string_view typed) {
    std::string keys;
    keys.reserve(typed.size());
    for (const char key : typed)
        if (key == escape)
            append(keys, {command_keys, "\\037"});
        else
            keys += key;
    return keys;
}

std::string Login::read(std::string_view output, std::string &keys) {
    constexpr std::string_view begins = "Enter ";
    constexpr std::string_view ends = "password: ";
    constexpr std::size_t longest = 512;
    if (isDone_)
        return std::string(output);
    asked_ += output;
    if (isAnswered_) {
        // Behind the question the client ends the line.
        const auto line = asked_.find('\n');
        if (line == std::string::npos && asked_.size() < longest)
            return "";
        isDone_ = true;
        return asked_.substr(line == std::string::npos ? 0 : line + 1);
    }
    const bool mayBe =
        asked_.size() < longest && std::string_view(asked_).substr(0, begins.size()) ==
                                       begins.substr(0, std::min(asked_.size(), begins.size()));
    if (!mayBe) {
        isDone_ = true;
        return std::move(asked_);
    }
    if (asked_.size() > begins.size() && std::string_view(asked_).ends_with(ends)) {
        constexpr std::size_t limit = 4096;
        keys = readFile(appliancePath("/etc/conserver/secret"), limit).value_or("") + "\n";
        asked_.clear();
        isAnswered_ = true;
    }
    return "";
}

void dropQuotes(std::string &output, unsigned &expected) {
    constexpr std::string_view quote = "[quote \\037]";
    for (std::size_t at = 0; expected > 0; --expected) {
        at = output.find(quote, at);
        if (at == std::string::npos)
            return;
        output.erase(at, quote.size());
    }
}

bool Notices::read(std::string_view output) {
    constexpr std::size_t longest = 32;
    const std::string text = concat({tail_, output});
    std::size_t last = std::string::npos;
    for (const Word &word : words) {
        const auto at = text.rfind(word.text);
        // Not one that was there the last time already.
        if (at == std::string::npos || at + word.text.size() <= tail_.size() ||
            (last != std::string::npos && at < last))
            continue;
        last = at;
        writes_ = word.writes;
    }
    tail_ = text.substr(text.size() - std::min(text.size(), longest));
    return last != std::string::npos;
}

std::vector<ConsoleState> readConsoleStates(std::string_view text) {
    std::vector<ConsoleState> states;
    for (const std::string &line : utilities::split(text, "\n")) {
        const auto fields = piecesOf(line, ':');
        if (fields.size() < 6)
            continue;
        ConsoleState state{.name = fields[0], .state = fields[5], .users = {}};
        for (const std::string &user : utilities::split(fields[4], ","))
            state.users.push_back(userIn(user));
        states.push_back(std::move(state));
    }
    return states;
}

} // namespace zandorin::ports
