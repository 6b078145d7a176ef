#pragma once

#include "platform/libzandorin/xml_snapshot.h"
#include "platform/libzandorin/xml_tree.h"
#include "util/fd.h"

#include <optional>
#include <string>
#include <vector>

/// The files of the configuration store. Paths are paths of this machine.
namespace zandorin::platform {

/// Reads a configuration's values, by way of the snapshot of that name (see readXmlFile). None, and
/// a log record, when the file cannot be read, is no whole XML document or has another root element
/// than "config"; errno is then ENOENT only when there is no such file.
std::optional<XmlFile> loadConfigFile(const std::string &path, const std::string &snapshot);

/// Reads a configuration as the document that it is, to be changed and saved; none as above.
std::optional<XmlDocument> loadConfigDocument(const std::string &path);

/// Replaces the configuration at `path`, mode 0600. False, and a log record, when that failed or
/// the text is longer than loadConfigFile takes.
bool saveConfigFile(const std::string &path, const XmlDocument &document);

/// Takes the lock of all writers of the store, the file `path`, made when missing; it ends with the
/// descriptor. Waits 30 seconds at most; none, and a log record, when it was not to be had.
UniqueFd lockStore(const std::string &path);

/// The names in a file of configurators, one a line, in order; what is no configurator's name is
/// passed over. Empty when there is no file.
std::vector<std::string> readQueue(const std::string &path);

/// Writes such a file. False, and a log record, when that failed.
bool saveQueue(const std::string &path, const std::vector<std::string> &names);

/// Appends `name` unless it is there.
void addOnce(std::vector<std::string> &names, const std::string &name);

} // namespace zandorin::platform
