#include "cgi/upload.h"

#include "cgi/cgi.h"
#include "cgi/decoder.h"
#include "util/log.h"
#include "util/paths.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include <fcntl.h>
#include <libgen.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zandorin {

namespace {

constexpr fsblkcnt_t reserved_blocks = 50;
constexpr std::string_view file_name_characters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.@";

bool refuse(Cgi &form, const char *message) {
    logRecord(Priority::error, "%s", message);
    form.addError(message);
    return false;
}

bool checkRoom(Cgi &form, const std::string &destination, std::size_t size) {
    std::string path = destination;
    const std::string folder =
        destination.empty() ? appliancePath("/tmp/") : ::dirname(path.data());
    logRecord(Priority::debug, "Statting directory: %s", folder.c_str());
    struct statvfs fileSystem = {};
    if (::statvfs(folder.c_str(), &fileSystem) != 0) {
        logRecord(Priority::fatal, "Couldn't stat %s: %s", folder.c_str(), std::strerror(errno));
        form.addError("Unable to determine size of config filesystem");
        return false;
    }
    return hasRoomFor(fileSystem, size) ||
           refuse(form, "Insufficient space on filesystem to upload files");
}

bool createFile(const std::string &path, mode_t mode) {
    const mode_t before = ::umask(0);
    const int fd = ::open(path.c_str(), O_RDONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    if (fd < 0) {
        logRecord(Priority::fatal, "Failedto create file: %s: %s", path.c_str(),
                  std::strerror(errno));
        return false;
    }
    ::close(fd);
    ::umask(before);
    return true;
}

bool writeFile(const std::string &path, std::string_view data) {
    logRecord(Priority::debug, "Writing file: %s: len: %d", path.c_str(),
              static_cast<int>(data.size()));
    std::FILE *file = std::fopen(path.c_str(), "wbe");
    if (file == nullptr) {
        logRecord(Priority::error, "Failed to open: %s: %s", path.c_str(), std::strerror(errno));
        return false;
    }
    const bool written = std::fwrite(data.data(), 1, data.size(), file) == data.size();
    if (std::fclose(file) == 0 && written)
        return true;
    logRecord(Priority::error, "Failed to write: %s: %s", path.c_str(), std::strerror(errno));
    return false;
}

/// Copies the bytes of a file; false when there are none, or its name is refused.
bool fetch(Cgi &form, const char *field, char *data, std::size_t size) {
    logRecord(Priority::debug, "gcgiFetchData(%s, %d)", field, static_cast<int>(size));
    char *fetchedName = nullptr;
    int truncated = 0;
    const int status =
        gcgiFetchData(field, data, size, nullptr, nullptr, nullptr, &fetchedName, &truncated);
    if (status != GCGI_OK) {
        logRecord(Priority::error, "Failed to fetch '%s': error: %d", field, status);
        return false;
    }
    const std::string fileName = fetchedName == nullptr ? "" : fetchedName;
    std::free(fetchedName);
    logRecord(Priority::debug, "Retrieved file: fname: %s: truncated: %d", fileName.c_str(),
              truncated);
    if (fileName.find_first_not_of(file_name_characters) != std::string::npos) {
        form.addError("File name contains illegal characters");
        return false;
    }
    return true;
}

} // namespace

bool hasRoomFor(const struct statvfs &fileSystem, std::size_t size) {
    const unsigned long blockSize = std::max(fileSystem.f_frsize, 1UL);
    return size / blockSize + reserved_blocks <= fileSystem.f_bavail;
}

bool uploadFile(Cgi &form, const std::string &fieldName, const std::string &destination,
                mode_t mode) {
    const char *field = fieldName.c_str();
    logRecord(Priority::debug, "uploadFile(%s, %s)", field, destination.c_str());
    std::size_t size = 0;
    if (gcgiFieldSize(field, &size) != GCGI_OK) {
        logRecord(Priority::error, "Failed to get size of file");
        return false;
    }
    if (size == 0) {
        logRecord(Priority::error, "File variable '%s' has length 0", field);
        return false;
    }
    if (!checkRoom(form, destination, size))
        return false;
    const std::unique_ptr<char[]> data(new (std::nothrow) char[size]());
    if (!data)
        return refuse(form, "Failed to allocate file buffer");
    if (!fetch(form, field, data.get(), size))
        return false;
    return createFile(destination, mode) && writeFile(destination, {data.get(), size});
}

std::optional<std::string> uploadedText(Cgi &form, const std::string &fieldName) {
    std::size_t size = 0;
    if (gcgiFieldSize(fieldName.c_str(), &size) != GCGI_OK || size == 0)
        return std::nullopt;
    std::string text(size, '\0');
    return fetch(form, fieldName.c_str(), text.data(), size) ? std::optional(text) : std::nullopt;
}

} // namespace zandorin
