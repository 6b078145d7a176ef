#include "services/port-menu/session.h"
#include "util/environment.h"
#include "util/log.h"
#include "util/strings.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include <pwd.h>
#include <unistd.h>

// What who logs in by SSH and is no administrator gets: a menu of their own serial ports.
// `ssh -t anna@appliance port3`, or with the port's label, goes straight to one.

namespace {

using namespace zandorin;
using menu::Port;

std::string accountName() {
    // sshd(8) sets it; without it the account of this process is asked.
    if (const auto name = environmentVariable("LOGNAME"); !name.empty())
        return std::string(name);
    const passwd *account = ::getpwuid(::geteuid());
    return account == nullptr ? "" : account->pw_name;
}

/// By name, number or label; else the only one whose label has the words in it.
const Port *findPort(const std::vector<Port> &ports, std::string_view words) {
    for (const Port &port : ports)
        if (port.name == words || concat({"port", words}) == port.name ||
            equalsIgnoreCase(port.label, words))
            return &port;
    const Port *only = nullptr;
    for (const Port &port : ports)
        if (findIgnoringCase(port.label, words) != std::string_view::npos) {
            if (only != nullptr)
                return nullptr;
            only = &port;
        }
    return only;
}

/// The labels come from the configuration: no control character gets to a terminal.
std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char c) {
            const auto byte = static_cast<unsigned char>(c);
            return byte < 0x20 || (byte >= 0x7f && byte < 0xa0);
        },
        '?');
    return text;
}

void showMenu(const std::vector<Port> &ports, std::string_view words) {
    std::cout << "\n";
    for (const Port &port : ports)
        if (findIgnoringCase(port.label, words) != std::string_view::npos)
            std::cout << "  " << port.name.substr(4) << "\t" << printable(port.label) << "\t"
                      << printable(port.state) << "\n";
    std::cout << "Port (its number, or a part of its label; \"quit\" leaves): " << std::flush;
}

int leave(const std::string &words) {
    std::cout << words << "\n" << std::flush;
    return 1;
}

/// Answers 0 when the user left, 1 when something else ended it.
int openPort(const std::string &user, const Port &port) {
    std::cout << "[" << printable(port.label) << "]\r\n" << std::flush;
    const std::string reason = menu::runSession(user, port.name, port.escape);
    std::cout << "\r\n[" << (reason.empty() ? "Left " + printable(port.label) : reason) << "]\r\n"
              << std::flush;
    return reason.empty() ? 0 : 1;
}

int runMenu(const std::string &user) {
    std::string words;
    for (;;) {
        const auto ports = menu::portsOf(user);
        if (!ports)
            return leave("The port service does not answer. Try again in a moment.");
        if (ports->empty())
            return leave("No serial port is yours: an administrator assigns them.");
        showMenu(*ports, words);
        if (!std::getline(std::cin, words))
            return 0;
        words = trim(words);
        if (words == "quit" || words == "exit" || words == "q")
            return 0;
        if (words.empty())
            continue;
        if (const Port *port = findPort(*ports, words)) {
            openPort(user, *port);
            words.clear();
        }
    }
}

} // namespace

int main(int argc, char **argv) {
    openLog("port-menu");
    const std::string user = accountName();
    std::string wanted(environmentVariable("SSH_ORIGINAL_COMMAND"));
    if (argc == 2)
        wanted = argv[1];
    if (trim(wanted).empty())
        return runMenu(user);
    const auto ports = menu::portsOf(user);
    if (!ports)
        return leave("The port service does not answer. Try again in a moment.");
    const Port *port = findPort(*ports, trim(wanted));
    return port == nullptr ? leave("There is no such port among yours.") : openPort(user, *port);
}
