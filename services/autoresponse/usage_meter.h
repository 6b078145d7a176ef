#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace zandorin::responder {

/// How much of a growing count came in the last `period` seconds, to a sixtieth of it.
class UsageMeter {
  public:
    explicit UsageMeter(std::int64_t period) : period_(period < 60 ? 60 : period) {}

    /// The count by now; one that is less than the last begins anew (the counter was reset).
    /// Seconds of a clock that may be set: what would lie in the future is taken for now.
    void count(std::uint64_t total, std::int64_t now);
    std::uint64_t used() const;
    /// One piece of the period, in seconds.
    std::int64_t piece() const { return period_ / 60; }

    std::string memory() const;
    void recall(std::string_view memory);

  private:
    struct Piece {
        std::int64_t begin;
        std::uint64_t used;
    };
    std::int64_t period_;
    bool isBegun_ = false;
    std::uint64_t last_ = 0;
    std::deque<Piece> pieces_;
};

} // namespace zandorin::responder
