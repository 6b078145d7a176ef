#pragma once

#include "util/fd.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin {

// What is so at the serial ports at this moment, as the port service (services/ports) knows it. It
// is asked over its socket /var/run/ports.sock; docs/terminal.md has the frames.

/// Somebody on a port. Texts are raw.
struct PortUser {
    std::string user = "";  ///< "" for a program on another computer
    bool writes = false;    ///< otherwise only watches
    std::int64_t since = 0; ///< seconds since the epoch; 0 when that is not known
    std::int64_t idle = 0;  ///< seconds without a key
    std::string from = "";  ///< address; "" when it is not known
    std::string via = "";   ///< "web", "ssh", "network"; "" for another appliance
};

struct PortState {
    unsigned number = 0;
    std::string state = ""; ///< conserver's word, "up", "down" or "init"; "" for a port it has not
    // What the kernel counts of the line (TIOCGICOUNT, tty_ioctl(4)); nothing where it does not.
    std::optional<std::uint64_t> received = {};
    std::optional<std::uint64_t> sent = {};
    std::optional<std::uint64_t> frameErrors = {};
    std::optional<std::uint64_t> parityErrors = {};
    std::optional<std::uint64_t> overruns = {};
    std::string signals = ""; ///< of the modem lines those that are raised, "DTR RTS CTS"
    std::string last = "";    ///< last line of the log, see readableLog
    std::vector<PortUser> users = {};
};

/// All ports; none when the service does not answer within a second.
std::optional<std::vector<PortState>> portStates();
/// The state of that port; null when there is none, or none at all is known. Points into `states`.
const PortState *stateOf(const std::optional<std::vector<PortState>> &states, unsigned number);

/// Ends what the user has open on the port. False when the service could not.
bool disconnectPortUser(const std::string &user, unsigned port);
/// Shows the user a line of text in the terminals on that port.
bool messagePortUser(const std::string &user, unsigned port, const std::string &text);

// For programs of this appliance that speak to the service.

/// A connection to it; none when it does not listen.
UniqueFd connectToPortService();
/// The whole answer to one frame; none when it did not come within a second.
std::optional<std::string> askPortService(char type, const std::string &payload);

// For both ends: the states as text, a line each, its fields separated by tabs.

std::string writePortStates(const std::vector<PortState> &states);
/// What is no such line is left out.
std::vector<PortState> readPortStates(std::string_view text);

} // namespace zandorin
