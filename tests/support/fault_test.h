#pragma once

#include "tests/support/request_test.h"

#include <functional>

namespace zandorin::test {

/// Requests that are killed, or have a system call fail, at each point of what they do. strace(1)
/// does the killing and failing; where it cannot trace, these tests are skipped.
class FaultTest : public RequestTest {
  protected:
    /// A system call of a recorded request.
    struct Call {
        std::string name;
        int ordinal;      ///< among the calls of that name since the program's start
        std::string line; ///< strace's, with the path of each descriptor
    };

    void SetUp() override;

    /// Posts the fields by way of strace with these options.
    Response trace(const Fields &fields, std::vector<std::string> options);

    /// Keeps /etc/config as it is now, then posts the fields. The calls from the first that names
    /// `first` to the last that names /etc/config.
    std::vector<Call> record(const Fields &fields, std::string_view first);
    /// Brings /etc/config back as record() found it.
    void restore() const;

    /// For each call that finds something changed by the one before it: restores, posts the fields,
    /// kills the program at that call, and checks.
    void killAtEach(const std::vector<Call> &calls, const Fields &fields,
                    const std::function<void(const Call &)> &check);
    /// For each call that a full or dying disk can fail, on a file whose path matches the regular
    /// expression `files`: restores, posts the fields with that call failing, and checks. The page
    /// must be whole, and no temporary file may be left. `check` answers whether the page told of
    /// the failure: each kind of call must have been told of once.
    void failAtEach(const std::vector<Call> &calls, const std::string &files, const Fields &fields,
                    const std::function<bool(const Call &, const Response &)> &check);
};

} // namespace zandorin::test
