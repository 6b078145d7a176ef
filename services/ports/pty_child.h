#pragma once

#include "util/fd.h"

#include <string>
#include <vector>

#include <sys/types.h>

namespace zandorin::ports {

/// A program to be started.
struct Command {
    std::vector<std::string> arguments; ///< the first is the program, a path or found by PATH
    std::vector<std::string> environment = {}; ///< "NAME=value", all that it gets to see
    std::string folder = "/";
    std::string account = ""; ///< to run as, where this process may choose; "" for its own
};

/// The same with what a program of the appliance gets to see of the environment.
Command helperCommand(std::vector<std::string> arguments);

/// A child in a session of its own. Ending the object ends the child: its terminal hangs up, and
/// what ignores that is killed with its session.
class Child {
  public:
    Child() = default;
    Child(Child &&other) noexcept;
    Child &operator=(Child &&other) noexcept;
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    ~Child() { end(); }

    /// Starts the program on a new pseudo-terminal. The child is not there, and errno says why,
    /// when that failed; a program that cannot be run exits with 127.
    static Child onTerminal(const Command &command);

    explicit operator bool() const { return pid_ > 0; }
    /// The terminal's other end; does not block. -1 once the child was ended.
    int fd() const { return fd_.get(); }
    pid_t pid() const { return pid_; }
    void resize(unsigned short columns, unsigned short rows) const;

    /// It has ended and its remains were taken: its process id may be another's by now.
    void forget() { pid_ = -1; }

    /// Ends it now, without waiting; whoever calls reap() later takes its remains.
    void end();

  private:
    static Child start(const Command &command, UniqueFd own, int terminal);

    UniqueFd fd_;
    pid_t pid_ = -1;
};

/// Takes the remains of every child that has ended. Answers their process ids, each with the exit
/// status as wait(2) has it.
std::vector<std::pair<pid_t, int>> reap();

} // namespace zandorin::ports
