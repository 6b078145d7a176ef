#pragma once

#include "util/fd.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace zandorin {

/// The whole file, bytes as they are; none when it cannot be opened or read, or holds more than
/// `limit` bytes. `path` is a path of this machine (see appliancePath). errno tells why.
std::optional<std::string> readFile(const std::string &path,
                                    std::size_t limit = std::size_t{64} * 1024 * 1024);

/// The same for what is open as `fd`, from its position on; of a file that grows meanwhile at least
/// as much as it held at first.
std::optional<std::string> readFile(int fd, std::size_t limit = std::size_t{64} * 1024 * 1024);

/// The names in the folder `path` (of this machine) that begin with `prefix`, in order of their
/// bytes; none when it cannot be read.
std::vector<std::string> namesIn(const std::string &path, std::string_view prefix);

/// Whether a new file must survive a power cut: no for what is gone with a reboot anyway.
enum class Durable { no, yes };

/// Replaces `path` by a file with these contents and permissions, whatever the umask.
/// The contents are written to a temporary file in the same folder (its name begins with
/// ".new-held-"), synced, renamed over `path`, and the folder is synced: a reader, a crash or a
/// full disk leaves the old file or the new one, whole. Temporary files that killed processes have
/// left in the folder are removed first; a living one holds the lock (flock(2)) of its own.
/// Durable::no leaves out the syncing. False when anything failed; the old file then stands as it
/// was, unless only the folder's sync failed. errno tells why.
bool replaceFile(const std::string &path, std::string_view contents, mode_t mode,
                 Durable durable = Durable::yes);

/// The same for the file `name` of the folder that is open as `folder`, where others may write: a
/// link that somebody placed there is replaced, never followed. The new file belongs to `owner` and
/// `group`, as far as this process may give files away.
bool replaceFileIn(int folder, const std::string &name, std::string_view contents, mode_t mode,
                   uid_t owner, gid_t group);

/// Renames a file over `to`, on the same file system, and syncs both folders. False when anything
/// failed; nothing has moved then, unless only a sync failed. errno tells why.
bool moveFile(const std::string &from, const std::string &to);

/// Removes a file and syncs its folder; one that is not there counts as removed. False when
/// anything failed; errno tells why.
bool removeFile(const std::string &path);

/// Makes the last folder of `path` with these permissions, whatever the umask, and syncs the folder
/// it lies in; one that is there stays as it is. False when anything failed; errno tells why.
bool makeFolder(const std::string &path, mode_t mode);

/// Takes a lock (flock(2)) of this kind, LOCK_SH or LOCK_EX, on what is open as `fd`. False when it
/// could not be had in `patience`; errno tells why, EWOULDBLOCK that somebody else holds it.
bool lockWithin(int fd, int kind, std::chrono::milliseconds patience);

/// Takes an exclusive lock (flock(2)) on a file, which is made when it is not there and never
/// removed; the lock lasts as long as the descriptor. None when it could not be had in `patience`;
/// errno tells why.
UniqueFd lockFile(const std::string &path,
                  std::chrono::milliseconds patience = std::chrono::seconds(30));

} // namespace zandorin
