#pragma once

#include "util/fd.h"

#include <cstdint>
#include <string_view>

namespace zandorin {

/// Bounds how many of this program run at once, from one address and altogether. Each holds record
/// locks on /var/run/.programs, a file that stays empty: they end with the program, however it
/// ends. One too many waits for five seconds. Where the file cannot be used, that is logged, and
/// every request is let in.
class ProgramLimit {
  public:
    ProgramLimit();

    /// Before the body of the request is read: at most 16 from an address, of IPv6 from a network
    /// (/64), so that one that sends slowly keeps nobody else out. False for one too many. A client
    /// without an address is not counted: no web server started the program.
    bool admitAddress(std::string_view address) const;
    /// After that: at most 64 altogether.
    bool admitProgram() const;

  private:
    bool takeOneOf(std::int64_t first, int count) const;
    bool lockByte(std::int64_t position) const;

    UniqueFd file_;
};

} // namespace zandorin
