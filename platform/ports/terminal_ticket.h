#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zandorin {

/// What lets a page of a session open one terminal. The page asks for it with its session's cookie;
/// the terminal's socket shows it, since that has no cookie (see docs/terminal.md).
struct TerminalTicket {
    std::string session = ""; ///< the terminal ends with it
    std::string user = "";
    std::string address = ""; ///< of the browser; "" when it is not known
    std::string target = "";  ///< "port3", "shell", or the port of another appliance, "attic/port3"
    bool watches = false;     ///< it only shows what others do
};

/// A ticket is good for so many seconds.
inline constexpr std::int64_t ticket_seconds = 30;

/// Keeps the ticket in a file of its own below /var/run/tickets (0600) and answers its id, 32
/// hexadecimal digits from the kernel's random source; "" when that failed or a text of it holds a
/// control character. Tickets that nobody came with are removed.
std::string issueTicket(const TerminalTicket &ticket);

/// The ticket of that id, which is none any more: of two who show it, one gets it. None when there
/// is no such ticket, or it is too old.
std::optional<TerminalTicket> takeTicket(std::string_view id);

} // namespace zandorin
