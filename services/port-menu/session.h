#pragma once

#include "platform/ports/port_frames.h"
#include "util/fd.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin::menu {

/// A port as the port service lists it.
struct Port {
    std::string name; ///< "port3"
    std::string label;
    std::string state;
    char escape = '\x05'; ///< begins a command of a session
};

/// The ports of the user; none when the service does not answer.
std::optional<std::vector<Port>> portsOf(const std::string &user);

/// What a user types in a session, with the session's own commands taken out: the escape character,
/// "c", and a letter.
class Keys {
  public:
    explicit Keys(char escape) : escape_(escape) {}

    /// Takes what was typed; answers what the device gets. `commands` gets the letters of commands,
    /// in their order. What begins like a command and is none is the device's.
    std::string read(std::string_view typed, std::string &commands);

  private:
    char escape_;
    int matched_ = 0; ///< characters of a command's beginning that were typed
};

/// Joins this terminal and the target until either side ends it. Answers why it ended, as a
/// sentence; "" when the user left.
std::string runSession(const std::string &user, const std::string &target, char escape);

} // namespace zandorin::menu
