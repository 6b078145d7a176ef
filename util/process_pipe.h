#pragma once

#include <istream>
#include <streambuf>
#include <string>
#include <vector>

#include <sys/types.h>

namespace zandorin {

/// Input stream buffer over a file descriptor whose reads time out: a source that is silent for
/// longer than the time-out ends the stream. At least 4 bytes can be put back after each refill.
class timeout_buf : public std::streambuf {
  public:
    /// `timeoutMs` bounds the wait of each refill in milliseconds, -1 waits without limit; `size`
    /// is the buffer's size in bytes. Holds no descriptor yet.
    timeout_buf(int timeoutMs, std::size_t size);
    ~timeout_buf() override;
    timeout_buf(const timeout_buf &) = delete;
    timeout_buf &operator=(const timeout_buf &) = delete;

    /// Takes ownership of a descriptor, closing the one before.
    void fd(int newFd);
    void close();
    bool closed() const { return fd_ == -1; }

  protected:
    int_type underflow() override;

  private:
    int fd_ = -1;
    std::vector<char> buffer_;
    int timeoutMs_;
};

/// The standard output of a shell command as a stream. The command runs through /bin/sh with
/// /dev/null as standard input and this process's standard error; of its other descriptors and its
/// environment it gets what util/child_process.h allows. No text of a user may be part of it.
/// Destruction neither waits for nor kills a command that is still running.
class ipipestream : public std::istream {
  public:
    /// Starts the command. When that fails, reading finds the end at once and no status ever comes.
    ipipestream(const std::string &command, int timeoutMs);
    ~ipipestream() override;

    void spawn(const std::string &command);
    /// Reads from this descriptor from now on; owned.
    void setfd(int fd);

    /// True once the command was reaped. `timeoutMs`: -1 waits without limit, -2 as long as the
    /// stream's own time-out. On false errno is ECHILD (nothing was started) or EAGAIN (still
    /// running), or tells what failed.
    bool wait(int timeoutMs = -2);
    /// Sends a signal; -1 with errno ENOENT when there is no command to receive it.
    int kill(int signal);
    /// The raw wait status (wait(2)), -1 when the command was not reaped in time.
    int status(int timeoutMs = -2);
    /// Ended by itself with exit code 0.
    bool success(int timeoutMs = -2);
    /// "exit 0", a signal's description, "incomplete", ...
    std::string status_string(int timeoutMs = -2);

  private:
    pid_t pid_ = -1;
    int status_ = -1;
    int defaultTimeoutMs_;
    timeout_buf buffer_;
};

} // namespace zandorin
