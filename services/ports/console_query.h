#pragma once

#include "services/ports/console_client.h"
#include "services/ports/pty_child.h"

#include <string>
#include <vector>

namespace zandorin::ports {

/// A run of conserver's client that answers and ends: "-i", "-t anna@port3 hello". It is read as it
/// goes on. It has a terminal, since it asks for the secret there.
class ConsoleQuery {
  public:
    ConsoleQuery() = default;
    explicit ConsoleQuery(const std::vector<std::string> &arguments)
        : child_(Child::onTerminal(consoleCommand("root", "", arguments))) {}

    /// Not everything was read yet.
    bool isRunning() const { return child_.fd() >= 0; }
    int fd() const { return child_.fd(); }
    pid_t pid() const { return child_.pid(); }
    void forget() { child_.forget(); }

    /// Takes what has come. True once that was all.
    bool read();
    /// What it said.
    const std::string &text() const { return text_; }

  private:
    Child child_;
    Login login_;
    std::string text_;
};

} // namespace zandorin::ports
