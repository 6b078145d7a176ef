#pragma once

#include "services/ports/console_client.h"
#include "services/ports/pty_child.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace zandorin::ports {

/// Who opened a terminal, and what on.
struct Grant {
    std::string user = "";
    std::string session = ""; ///< of the browser; "" of one by SSH
    std::string from = "";    ///< address
    std::string via = "";     ///< "web" or "ssh"
    std::string target = "";  ///< "port3", "attic/port3", "shell"
    std::string console = ""; ///< the target's name at its conserver
    std::string master = "";  ///< address of the appliance that has it; "" for this one
    unsigned port = 0;        ///< of this appliance; 0 for none
    unsigned idleMinutes = 0; ///< without a key, after which who writes is disconnected; 0: never
    bool watches = false;     ///< whatever is typed is dropped
    bool logsTyped = false;
    bool logsEvents = false; ///< who came and went, where conserver keeps no log
};

/// An open terminal: a program on a pseudo-terminal and the bytes between it and a connection.
class Terminal {
  public:
    /// Starts the program. When that fails the terminal is over at once.
    explicit Terminal(Grant grant);
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;
    ~Terminal();

    const Grant &grant() const { return grant_; }
    const Child &child() const { return child_; }
    Child &child() { return child_; }
    std::int64_t since() const { return since_; }
    /// Seconds since something was typed, or since it was opened.
    std::int64_t idle() const;
    bool writes() const { return !grant_.watches && notices_.writes(); }

    /// What was typed. False when so much waits for the program already that it was not taken.
    bool type(std::string_view keys);
    void sendBreak();
    void takeOver();
    /// Writes no longer, but may take over again.
    void watch();
    void resize(unsigned short columns, unsigned short rows) { child_.resize(columns, rows); }

    bool hasToWrite() const { return !toChild_.empty(); }
    /// Gives the program what waits for it.
    void write();
    /// Adds what the program put out to `output`, at most a piece of it. False when it has ended.
    bool read(std::string &output);
    /// The program's notices said something since this was asked last.
    bool takeNews() { return std::exchange(hasNews_, false); }

  private:
    void logTyped(std::string_view keys);

    Grant grant_;
    Child child_;
    std::int64_t since_;
    std::int64_t typed_ = since_; ///< when something was typed last
    std::string toChild_;
    Login login_;
    Notices notices_;
    bool hasNews_ = true;
    bool isFirst_ = true;
    unsigned quotes_ = 0; ///< characters sent by their number, of which the client will speak
    std::string line_;    ///< typed since the last Return, where that is logged
    std::string echoed_;  ///< what came since then
};

} // namespace zandorin::ports
