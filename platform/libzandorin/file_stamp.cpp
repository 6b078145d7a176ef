#include "platform/libzandorin/file_stamp.h"

#include <fcntl.h>

namespace zandorin::platform {

namespace {

/// Two changes of a file can carry one time of change when the file system's clock stands still
/// between them; the coarsest one in use ticks in steps of two seconds (FAT).
constexpr std::int64_t coarsest_clock = 2;

FileIdentity identityOf(const struct stat &status) {
    return {.device = status.st_dev,
            .inode = status.st_ino,
            .size = static_cast<std::uint64_t>(status.st_size),
            .modifiedSeconds = status.st_mtim.tv_sec,
            .modifiedNanoseconds = status.st_mtim.tv_nsec,
            .changedSeconds = status.st_ctim.tv_sec,
            .changedNanoseconds = status.st_ctim.tv_nsec};
}

} // namespace

std::optional<FileIdentity> FileIdentity::of(const std::string &path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? std::optional(identityOf(status)) : std::nullopt;
}

bool FileIdentity::isSettled(std::int64_t moment) const {
    return moment > changedSeconds + coarsest_clock;
}

std::optional<FileStamp> FileStamp::take(const std::string &path) {
    FileStamp stamp;
    stamp.file_.reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    if (!stamp.file_ || ::fstat(stamp.file_.get(), &status) != 0)
        return std::nullopt;
    stamp.identity_ = identityOf(status);
    return stamp;
}

bool FileStamp::holds(const std::string &path) const {
    return FileIdentity::of(path) == identity_;
}

} // namespace zandorin::platform
