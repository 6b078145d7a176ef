#pragma once

#include "util/fd.h"

#include <cstdint>
#include <optional>
#include <string>

#include <sys/stat.h>

namespace zandorin::platform {

/// What tells one state of a file from another: any change of it sets its time of change
/// (stat(2)'s st_ctime), which cannot be set back. Numbers only, without gaps between them.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;
    std::int64_t modifiedSeconds = 0;
    std::int64_t modifiedNanoseconds = 0;
    std::int64_t changedSeconds = 0;
    std::int64_t changedNanoseconds = 0;

    bool operator==(const FileIdentity &) const = default;

    /// Of what stands at `path`, a folder too; none when nothing does.
    static std::optional<FileIdentity> of(const std::string &path);

    /// True when a change after `moment` (seconds since the epoch) would show.
    bool isSettled(std::int64_t moment) const;
};

/// Remembers which file stands at a path. The file is held open, so that its inode number cannot
/// come back with another file.
class FileStamp {
  public:
    /// Of the file at `path`; none when it cannot be opened, errno tells why.
    static std::optional<FileStamp> take(const std::string &path);

    /// True while that file still stands at `path`, unchanged.
    bool holds(const std::string &path) const;

    /// Of the file when the stamp was taken.
    const FileIdentity &identity() const { return identity_; }
    int descriptor() const { return file_.get(); }

  private:
    UniqueFd file_;
    FileIdentity identity_;
};

} // namespace zandorin::platform
