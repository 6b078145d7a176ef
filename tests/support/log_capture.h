#pragma once

#include "util/log.h"

#include <string>
#include <vector>

namespace zandorin::test {

/// Takes the log's records in place of the system log, from construction to destruction. One at a
/// time.
class LogCapture {
  public:
    /// Records graver than or equal to `least` are taken.
    explicit LogCapture(Priority least = Priority::debug);
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    /// "<priority> <text>" of each record so far, such as "300 Failed to open: /x".
    const std::vector<std::string> &records() const;
    bool has(const std::string &record) const;
};

} // namespace zandorin::test
