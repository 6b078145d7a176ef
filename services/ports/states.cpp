#include "services/ports/states.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/port_access.h"
#include "platform/ports/port_log.h"
#include "platform/ports/port_settings.h"
#include "util/fd.h"
#include "util/files.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/serial.h>
#include <sys/ioctl.h>

namespace zandorin::ports {

namespace {

/// A word of hexadecimal digits, whatever the byte order of its number.
std::optional<std::uint64_t> hexadecimal(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number)
                                                                    : std::nullopt;
}

/// The kernel prints an address as words of 32 bits in its own byte order.
std::string addressOf(std::string_view digits) {
    std::array<std::uint32_t, 4> words = {};
    const std::size_t count = digits.size() / 8;
    if (count != 1 && count != 4)
        return "";
    for (std::size_t i = 0; i < count; ++i)
        words[i] = static_cast<std::uint32_t>(hexadecimal(digits.substr(8 * i, 8)).value_or(0));
    std::array<char, INET6_ADDRSTRLEN> text = {};
    return ::inet_ntop(count == 1 ? AF_INET : AF_INET6, words.data(), text.data(), text.size()) ==
                   nullptr
               ? ""
               : text.data();
}

/// What the kernel counts of the line, without a change of it: opening waits for no carrier.
void readLine(PortState &port) {
    const UniqueFd line(
        ::open(serialDevice(port.number).c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!line)
        return;
    serial_icounter_struct counts = {};
    if (::ioctl(line.get(), TIOCGICOUNT, &counts) == 0) {
        const auto count = [](int value) {
            return static_cast<std::uint64_t>(static_cast<unsigned>(value));
        };
        port.received = count(counts.rx);
        port.sent = count(counts.tx);
        port.frameErrors = count(counts.frame);
        port.parityErrors = count(counts.parity);
        port.overruns = count(counts.overrun) + count(counts.buf_overrun);
    }
    struct Signal {
        int bit;
        const char *name;
    };
    static constexpr std::array signals = {Signal{TIOCM_DTR, "DTR"}, Signal{TIOCM_RTS, "RTS"},
                                           Signal{TIOCM_CTS, "CTS"}, Signal{TIOCM_DSR, "DSR"},
                                           Signal{TIOCM_CAR, "DCD"}, Signal{TIOCM_RNG, "RI"}};
    int raised = 0;
    if (::ioctl(line.get(), TIOCMGET, &raised) == 0)
        for (const Signal &signal : signals)
            if ((raised & signal.bit) != 0)
                port.signals += (port.signals.empty() ? "" : " ") + std::string(signal.name);
}

std::string lastLine(unsigned number) {
    constexpr std::size_t most = 1024;
    const auto part =
        readLogBefore(portLogPath(number), std::numeric_limits<std::uint64_t>::max(), most);
    if (!part)
        return "";
    std::string last;
    for (const std::string &line : utilities::split(readableLog(part->text, false), "\n"))
        // Without what conserver says of itself.
        if (const auto text = trim(std::string_view(line).substr(0, line.find("[-- ")));
            !text.empty())
            last = text;
    return last;
}

} // namespace

void joinTerminals(std::vector<PortUser> &users, unsigned port,
                   std::span<const Terminal *const> terminals) {
    std::vector<const Terminal *> left;
    std::copy_if(terminals.begin(), terminals.end(), std::back_inserter(left),
                 [&](const Terminal *each) { return each->grant().port == port; });
    // Of two terminals of one user it is the one that writes that conserver lists as writing.
    std::stable_sort(left.begin(), left.end(), [](const Terminal *a, const Terminal *b) {
        return a->writes() && !b->writes();
    });
    for (const bool writes : {true, false})
        for (PortUser &user : users) {
            if (user.writes != writes)
                continue;
            const auto found = std::find_if(left.begin(), left.end(), [&](const Terminal *each) {
                return each->grant().user == user.user;
            });
            if (found == left.end())
                continue;
            user.since = (*found)->since();
            user.from = (*found)->grant().from;
            user.via = (*found)->grant().via;
            left.erase(found);
        }
}

std::vector<std::string> connectionsTo(unsigned tcpPort, std::string_view table) {
    constexpr std::string_view established = "01";
    std::vector<std::string> addresses;
    for (const std::string &line : utilities::split(table, "\n")) {
        // "0: 0100007F:0FA1 0100007F:C35E 01 ..."
        const auto words = utilities::split(line, " ");
        if (words.size() < 4 || words[3] != established)
            continue;
        const auto colon = words[1].rfind(':');
        if (colon == std::string::npos ||
            hexadecimal(std::string_view(words[1]).substr(colon + 1)) != tcpPort)
            continue;
        addresses.push_back(addressOf(std::string_view(words[2]).substr(0, words[2].rfind(':'))));
    }
    return addresses;
}

std::string listOf(const ConfigManager &config, const std::vector<ConsoleState> &consoles,
                   const std::string &user) {
    std::string list;
    const PortAccess access(config, user);
    for (unsigned number = 1; number <= portCount(config); ++number) {
        const PortSettings port = portSettings(config, number);
        if (!access.has(number) || port.mode != PortMode::console)
            continue;
        const auto console =
            std::find_if(consoles.begin(), consoles.end(),
                         [&](const ConsoleState &each) { return each.name == portName(number); });
        std::string label = port.label;
        std::replace(label.begin(), label.end(), '\t', ' ');
        append(list, {portName(number), "\t", label, "\t",
                      console == consoles.end() ? std::string_view() : console->state, "\t",
                      std::to_string(port.escape), "\n"});
    }
    return list;
}

std::vector<PortState> statesOf(const ConfigManager &config,
                                const std::vector<ConsoleState> &consoles,
                                std::span<const Terminal *const> terminals) {
    std::vector<PortState> states;
    std::string connections;
    for (unsigned number = 1; number <= portCount(config); ++number) {
        const PortSettings settings = portSettings(config, number);
        PortState port{.number = number};
        const auto console =
            std::find_if(consoles.begin(), consoles.end(),
                         [&](const ConsoleState &each) { return each.name == portName(number); });
        if (console != consoles.end()) {
            port.state = console->state;
            port.users = console->users;
            joinTerminals(port.users, number, terminals);
        }
        if (settings.mode != PortMode::off)
            readLine(port);
        if (settings.mode == PortMode::network) {
            if (connections.empty())
                connections = readFile("/proc/net/tcp").value_or("") +
                              readFile("/proc/net/tcp6").value_or("");
            for (const std::string &address : connectionsTo(settings.tcpPort, connections))
                port.users.push_back({.writes = true, .from = address, .via = "network"});
        }
        port.last = lastLine(number);
        states.push_back(std::move(port));
    }
    return states;
}

} // namespace zandorin::ports
