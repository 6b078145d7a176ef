#pragma once

#include <utility>

#include <unistd.h>

namespace zandorin {

/// Owns one file descriptor and closes it; -1 means none.
class UniqueFd {
  public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd &&other) noexcept : fd_(other.release()) {}
    UniqueFd &operator=(UniqueFd &&other) noexcept {
        reset(other.release());
        return *this;
    }
    UniqueFd(const UniqueFd &) = delete;
    UniqueFd &operator=(const UniqueFd &) = delete;
    ~UniqueFd() { reset(); }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

    /// Gives the descriptor away without closing it.
    int release() { return std::exchange(fd_, -1); }

    void reset(int fd = -1) {
        if (fd_ >= 0 && fd_ != fd)
            ::close(fd_);
        fd_ = fd;
    }

  private:
    int fd_ = -1;
};

} // namespace zandorin
