#include "util/files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <thread>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zandorin {

namespace {

std::string folderOf(const std::string &path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

/// Linux keeps what is written at once in pages as large; whoever maps the file later gets them
/// whole.
constexpr std::size_t piece = 65536;

bool writeAll(int fd, std::string_view data) {
    while (!data.empty()) {
        const ssize_t written = ::write(fd, data.data(), std::min(data.size(), piece));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        data.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

/// Of the temporary files that are locked as long as somebody is writing them.
constexpr std::string_view held_prefix = ".new-held-";
constexpr std::chrono::milliseconds at_once{0};

/// Of those that are not: a configurator's script, which is ended after a minute, makes them, and
/// so did releases before. mktemp(1) puts six characters behind it.
constexpr std::string_view scripts_prefix = ".new-";
constexpr std::size_t scripts_length = scripts_prefix.size() + 6;
constexpr std::time_t scripts_limit = 600; ///< seconds

bool isAbandoned(int fd, const std::string &name) {
    if (name.starts_with(held_prefix))
        return lockWithin(fd, LOCK_EX, at_once);
    struct stat status = {};
    return name.size() == scripts_length && ::fstat(fd, &status) == 0 &&
           std::time(nullptr) - status.st_mtime > scripts_limit;
}

/// Removes what killed processes have left in the folder.
void sweepTemporaries(const std::string &folder) {
    std::string path = folder + "/";
    for (const std::string &name : namesIn(folder, scripts_prefix)) {
        path.replace(folder.size() + 1, std::string::npos, name);
        const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (fd && isAbandoned(fd.get(), name))
            ::unlink(path.c_str());
    }
}

/// A new temporary file of the folder, locked; none when it cannot be made.
UniqueFd makeTemporary(const std::string &folder, std::string &path) {
    constexpr int attempts = 100;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        path = folder + "/" + std::string(held_prefix) + "XXXXXX";
        UniqueFd fd(::mkostemp(path.data(), O_CLOEXEC));
        if (!fd)
            return fd;
        // Whoever sweeps may have come first: then this one is gone, or going.
        struct stat status = {};
        if (lockWithin(fd.get(), LOCK_EX, at_once)) {
            if (::fstat(fd.get(), &status) == 0 && status.st_nlink != 0)
                return fd;
            continue;
        }
        const int reason = errno;
        ::unlink(path.c_str());
        errno = reason;
        if (reason != EWOULDBLOCK)
            return UniqueFd();
    }
    return UniqueFd();
}

bool syncFolder(const std::string &folder) {
    const UniqueFd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return fd && ::fsync(fd.get()) == 0;
}

} // namespace

std::optional<std::string> readFile(const std::string &path, std::size_t limit) {
    const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return fd ? readFile(fd.get(), limit) : std::nullopt;
}

std::optional<std::string> readFile(int fd, std::size_t limit) {
    struct stat status = {};
    if (::fstat(fd, &status) != 0)
        return std::nullopt;
    const std::size_t announced =
        status.st_size > 0 ? static_cast<std::size_t>(status.st_size) : 4095;
    // One byte more than announced, so that more than is allowed shows.
    std::string contents(std::min(announced, limit) + 1, '\0');
    std::size_t filled = 0;
    for (;;) {
        const ssize_t got = ::read(fd, contents.data() + filled, contents.size() - filled);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return std::nullopt;
        if (got == 0)
            break;
        filled += static_cast<std::size_t>(got);
        if (filled > limit) {
            errno = EFBIG;
            return std::nullopt;
        }
        if (filled == static_cast<std::size_t>(status.st_size))
            break;
        if (filled == contents.size())
            contents.resize(2 * filled);
    }
    contents.resize(filled);
    return contents;
}

std::vector<std::string> namesIn(const std::string &path, std::string_view prefix) {
    std::vector<std::string> names;
    const UniqueFd folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // readdir(3) would take 32 KiB for it; the records are those of getdents64(2) all the same.
    alignas(dirent64) std::array<char, 4096> part;
    for (;;) {
        const long count = ::syscall(SYS_getdents64, folder.get(), part.data(), part.size());
        if (count <= 0)
            break;
        for (std::size_t at = 0; at < static_cast<std::size_t>(count);) {
            const auto *entry = reinterpret_cast<const dirent64 *>(part.data() + at);
            const std::string_view name = entry->d_name;
            if (name.starts_with(prefix))
                names.emplace_back(name);
            at += entry->d_reclen;
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool replaceFile(const std::string &path, std::string_view contents, mode_t mode, Durable durable) {
    const std::string folder = folderOf(path);
    sweepTemporaries(folder);
    std::string temporary;
    const UniqueFd fd = makeTemporary(folder, temporary);
    if (!fd)
        return false;
    // Closed, and its lock with it, only when it has its name.
    const bool complete = writeAll(fd.get(), contents) && ::fchmod(fd.get(), mode) == 0 &&
                          (durable == Durable::no || ::fsync(fd.get()) == 0) &&
                          ::rename(temporary.c_str(), path.c_str()) == 0;
    if (!complete) {
        const int reason = errno;
        ::unlink(temporary.c_str());
        errno = reason;
        return false;
    }
    return durable == Durable::no || syncFolder(folder);
}

bool replaceFileIn(int folder, const std::string &name, std::string_view contents, mode_t mode,
                   uid_t owner, gid_t group) {
    const std::string temporary = ".new-" + std::to_string(::getpid());
    ::unlinkat(folder, temporary.c_str(), 0); // left over by a process that had this id
    UniqueFd fd(::openat(folder, temporary.c_str(),
                         O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!fd)
        return false;
    const bool complete = writeAll(fd.get(), contents) && ::fchmod(fd.get(), mode) == 0 &&
                          (::fchown(fd.get(), owner, group) == 0 || ::geteuid() != 0) &&
                          ::fsync(fd.get()) == 0 && ::close(fd.release()) == 0 &&
                          ::renameat(folder, temporary.c_str(), folder, name.c_str()) == 0;
    if (!complete) {
        const int reason = errno;
        ::unlinkat(folder, temporary.c_str(), 0);
        errno = reason;
        return false;
    }
    return ::fsync(folder) == 0;
}

bool moveFile(const std::string &from, const std::string &to) {
    if (::rename(from.c_str(), to.c_str()) != 0)
        return false;
    const bool arrived = syncFolder(folderOf(to));
    return syncFolder(folderOf(from)) && arrived;
}

bool removeFile(const std::string &path) {
    if (::unlink(path.c_str()) != 0)
        return errno == ENOENT;
    return syncFolder(folderOf(path));
}

bool makeFolder(const std::string &path, mode_t mode) {
    if (::mkdir(path.c_str(), mode) != 0)
        return errno == EEXIST;
    return ::chmod(path.c_str(), mode) == 0 && syncFolder(folderOf(path));
}

bool lockWithin(int fd, int kind, std::chrono::milliseconds patience) {
    using namespace std::chrono_literals;
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (::flock(fd, kind | LOCK_NB) != 0) {
        if (errno == EINTR)
            continue;
        if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

UniqueFd lockFile(const std::string &path, std::chrono::milliseconds patience) {
    UniqueFd fd(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (fd && !lockWithin(fd.get(), LOCK_EX, patience)) {
        const int reason = errno;
        fd.reset();
        errno = reason;
    }
    return fd;
}

} // namespace zandorin
