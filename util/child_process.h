#pragma once

#include <string>
#include <vector>

namespace zandorin {

// What a program that this one starts gets to see of it.

/// This process's environment variables that are handed on, an allow list: PATH, TZ, LANG,
/// ZANDORIN_ROOT and what preloads account files in development (LD_PRELOAD, NSS_WRAPPER_PASSWD,
/// NSS_WRAPPER_GROUP, NSS_WRAPPER_DISABLE_DEEPBIND). Nothing of a request is among them: it holds
/// the session's id, and shells have taken variables for code. Made before the fork.
class ChildEnvironment {
  public:
    ChildEnvironment();
    ChildEnvironment(const ChildEnvironment &) = delete;
    ChildEnvironment &operator=(const ChildEnvironment &) = delete;

    /// As execve(2) takes it; belongs to the object.
    char *const *block() const { return block_.data(); }

  private:
    std::vector<std::string> variables_;
    std::vector<char *> block_;
};

/// Gives every signal its default handling and unblocks all. In a forked child: only system calls.
void resetSignals();

} // namespace zandorin
