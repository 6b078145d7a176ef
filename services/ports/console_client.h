#pragma once

#include "platform/ports/port_status.h"
#include "services/ports/pty_child.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin::ports {

// How conserver's client, console(1), is spoken to: its arguments, its commands among what is
// typed, its words among what a device sends.

/// console with the appliance's settings, on behalf of `user`. `more` follows. `master` is the
/// address of the appliance that is asked, "" for this one.
Command consoleCommand(const std::string &user, const std::string &master,
                       const std::vector<std::string> &more);

/// Opens the console of that name, its last lines first.
Command openCommand(const std::string &user, const std::string &master, const std::string &console,
                    bool watches);

// Commands among what is typed.
std::string breakKeys();
std::string takeOverKeys();
std::string watchKeys();

/// What somebody typed, in a form in which console takes no part of it for a command: its escape
/// character is sent by its number.
std::string literalKeys(std::string_view typed);

/// The beginning of the client's output: it asks for the secret that conserver wants to see.
class Login {
  public:
    /// Takes output; answers what of it is to be shown. `keys` gets what is to be typed.
    std::string read(std::string_view output, std::string &keys);

  private:
    std::string asked_; ///< what may be the question
    bool isAnswered_ = false;
    bool isDone_ = false;
};

/// Takes what the client says of each character sent by its number out of its output, at most as
/// often as is expected, and counts down. Words that come in two pieces stay.
void dropQuotes(std::string &output, unsigned &expected);

/// What the client says about itself, in brackets among the device's output. A device can say the
/// same, so that it is good for showing, not for deciding.
class Notices {
  public:
    /// `writes`: what holds as long as nothing is said.
    explicit Notices(bool writes) : writes_(writes) {}

    bool writes() const { return writes_; }
    /// Looks through what came; true when it said anything.
    bool read(std::string_view output);

  private:
    std::string tail_; ///< of what came before: words may come in pieces
    bool writes_;
};

/// A console's line of "console -i".
struct ConsoleState {
    std::string name;
    std::string state;
    std::vector<PortUser> users; ///< without since, from and via
};

/// The answer of "console -i"; lines that are none are left out. Fields are separated by ":", of a
/// user by "@", which may be in the name, too.
std::vector<ConsoleState> readConsoleStates(std::string_view text);

} // namespace zandorin::ports
