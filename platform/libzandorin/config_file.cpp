#include "platform/libzandorin/config_file.h"

#include "platform/libzandorin/configurator.h"
#include "platform/libzandorin/split.h"
#include "util/files.h"
#include "util/log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zandorin::platform {

namespace {

constexpr std::string_view root_name = "config";

// Logs what failed with errno's reason and keeps errno.
void logFailure(const char *what, const std::string &path) {
    const int reason = errno;
    logRecord(Priority::error, "Failed to %s: %s: %s", what, path.c_str(), std::strerror(reason));
    errno = reason;
}

/// Logs why the configuration is refused.
void logDamage(const std::string &path, const std::string &reason) {
    logRecord(Priority::error, "Damaged configuration: %s: %s", path.c_str(), reason.c_str());
    errno = EBADMSG;
}

bool isConfiguration(std::string_view root, const std::string &path) {
    if (root != root_name)
        logDamage(path, "the root element is not \"config\"");
    return root == root_name;
}

} // namespace

std::optional<XmlFile> loadConfigFile(const std::string &path, const std::string &snapshot) {
    std::string fault;
    auto file = readXmlFile(path, snapshot, fault);
    if (file && isConfiguration(file->image.name(XmlImage::root), path))
        return file;
    if (!fault.empty())
        logDamage(path, fault);
    else if (!file)
        logFailure("read", path);
    return std::nullopt;
}

std::optional<XmlDocument> loadConfigDocument(const std::string &path) {
    const auto bytes = readFile(path, max_xml_size);
    if (!bytes) {
        logFailure("read", path);
        return std::nullopt;
    }
    std::string fault;
    auto document = parseXml(*bytes, &fault);
    if (!document)
        logDamage(path, fault);
    else if (!isConfiguration(document->root.value, path))
        document.reset();
    return document;
}

bool saveConfigFile(const std::string &path, const XmlDocument &document) {
    const std::string bytes = renderXml(document);
    errno = EFBIG;
    if (bytes.size() <= max_xml_size && replaceFile(path, bytes, 0600))
        return true;
    logFailure("write", path);
    return false;
}

UniqueFd lockStore(const std::string &path) {
    UniqueFd lock = lockFile(path);
    if (!lock)
        logFailure("lock", path);
    return lock;
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
