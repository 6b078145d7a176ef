#pragma once

#include "util/fd.h"

#include <chrono>
#include <string>
#include <vector>

#include <sys/types.h>

namespace zandorin::responder {

/// A program to be run: a path of this machine or, without a slash, a name that PATH has.
struct Command {
    std::vector<std::string> words = {};
    std::string input = ""; ///< its standard input
    std::chrono::seconds limit{30};
};

/// How a program ended.
struct Ended {
    int status = -1;         ///< of its exit; -1 when there was none: `words` has why
    std::string words = "";  ///< else the last line that it has put out
    std::string output = ""; ///< the end of all of it, at most 2 KiB
};

/// Why it did not do what it was to do; "" when it did.
std::string problemOf(const Ended &ended);

/// A program that runs, as a process group of its own with an allow list of this process's
/// environment (util/child_process.h) and "/" as its folder. What it puts out is read and, but for
/// its end, dropped. Destruction kills the group.
class Child {
  public:
    explicit Child(const Command &command);
    Child(Child &&other) noexcept;
    Child &operator=(Child &&other) noexcept;
    ~Child() { kill(); }

    /// Readable when look() is worth a call: there is output, or an end. -1 for none.
    int fd() const { return output_.get(); }
    int endFd() const { return end_.get(); }
    std::chrono::steady_clock::time_point deadline() const { return deadline_; }
    /// True when it has ended, or was ended because its time was over.
    bool look();
    const Ended &ended() const { return ended_; }
    /// Waits until it has ended.
    const Ended &wait();

  private:
    void start(const Command &command);
    void readOutput();
    void kill();

    pid_t pid_ = -1;
    UniqueFd output_;
    UniqueFd end_; ///< pidfd_open(2)
    std::chrono::steady_clock::time_point deadline_;
    std::string tail_;
    Ended ended_;
};

} // namespace zandorin::responder
