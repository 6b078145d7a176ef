#include "platform/libzandorin/config_file.h"

#include "platform/libzandorin/configurator.h"
#include "platform/libzandorin/split.h"
#include "util/files.h"
#include "util/log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>

namespace zandorin::platform {

namespace {

constexpr std::size_t max_size = std::size_t{64} * 1024 * 1024;

// Logs what failed with errno's reason and keeps errno.
void logFailure(const char *what, const std::string &path) {
    const int reason = errno;
    logRecord(Priority::error, "Failed to %s: %s: %s", what, path.c_str(), std::strerror(reason));
    errno = reason;
}

bool sameTime(const timespec &a, const timespec &b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

} // namespace

std::optional<FileStamp> FileStamp::take(const std::string &path) {
    FileStamp stamp;
    stamp.file_.reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!stamp.file_ || ::fstat(stamp.file_.get(), &stamp.status_) != 0)
        return std::nullopt;
    return stamp;
}

bool FileStamp::holds(const std::string &path) const {
    struct stat now = {};
    return ::stat(path.c_str(), &now) == 0 && now.st_dev == status_.st_dev &&
           now.st_ino == status_.st_ino && now.st_size == status_.st_size &&
           sameTime(now.st_mtim, status_.st_mtim);
}

std::optional<ConfigFile> loadConfigFile(const std::string &path) {
    auto stamp = FileStamp::take(path);
    const auto bytes = stamp ? readFile(stamp->descriptor(), max_size) : std::nullopt;
    if (!bytes) {
        logFailure("read", path);
        return std::nullopt;
    }
    std::string reason;
    auto document = parseXml(*bytes, &reason);
    if (document && document->root.value != "config")
        reason = "the root element is not \"config\"";
    if (!reason.empty()) {
        logRecord(Priority::error, "Damaged configuration: %s: %s", path.c_str(), reason.c_str());
        errno = EBADMSG;
        return std::nullopt;
    }
    return ConfigFile{std::move(*document), std::move(*stamp)};
}

bool saveConfigFile(const std::string &path, const XmlDocument &document) {
    const std::string bytes = renderXml(document);
    errno = EFBIG;
    if (bytes.size() <= max_size && replaceFile(path, bytes, 0600))
        return true;
    logFailure("write", path);
    return false;
}

UniqueFd lockStore(const std::string &path) {
    UniqueFd fd = lockFile(path);
    if (!fd)
        logFailure("lock", path);
    return fd;
}

std::vector<std::string> readQueue(const std::string &path) {
    std::vector<std::string> names;
    for (const std::string &name : utilities::split(readFile(path).value_or(""), "\n"))
        if (isConfiguratorName(name))
            addOnce(names, name);
    return names;
}

bool saveQueue(const std::string &path, const std::vector<std::string> &names) {
    std::string lines;
    for (const std::string &name : names)
        lines += name + "\n";
    if (replaceFile(path, lines, 0600))
        return true;
    logFailure("write", path);
    return false;
}

void addOnce(std::vector<std::string> &names, const std::string &name) {
    if (std::find(names.begin(), names.end(), name) == names.end())
        names.push_back(name);
}

} // namespace zandorin::platform
