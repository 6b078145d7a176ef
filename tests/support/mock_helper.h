#pragma once

#include "tests/support/auth_messages.h"
#include "tests/support/testing.h"

#include <sys/types.h>

namespace zandorin::test {

/// A process that listens where an authentication helper does and says what a test tells it to:
/// one answer a connection, byte for byte, once the request's end has come and a delay has passed.
/// Afterwards it listens on and answers nothing. Ended with the object.
class MockHelper {
  public:
    using Answers = std::vector<std::string>;

    /// Listens under its own process id; with a file, under the id that somebody writes into that
    /// file of the appliance.
    explicit MockHelper(const Answers &answers, int delayMs = 0, const std::string &pidFile = "");
    ~MockHelper();
    MockHelper(const MockHelper &) = delete;
    MockHelper &operator=(const MockHelper &) = delete;

    pid_t pid() const { return pid_; }
    /// What came so far, one line a request, such as "1:abc 4:secret 127". Waits for nothing.
    std::string requests() const;
    /// The signal that has ended it, waited for for at most 5 seconds; 0 when none has.
    int endedBy();

  private:
    [[noreturn]] void serve(const Answers &answers, int delayMs, const std::string &pidFile,
                            int ready) const;

    pid_t pid_ = -1;
    std::string log_;
};

} // namespace zandorin::test
