#pragma once

#include "platform/libzandorin/file_stamp.h"
#include "platform/libzandorin/xml_image.h"

#include <cstddef>
#include <optional>
#include <string>

namespace zandorin::platform {

/// The longest file that is read. Bytes.
constexpr std::size_t max_xml_size = std::size_t{64} * 1024 * 1024;

/// A file's elements, and which file they were read from.
struct XmlFile {
    XmlImage image;
    FileStamp stamp;
};

/// Reads the XML file at `path` (of this machine), from the snapshot /var/run/<snapshot>.snapshot
/// when that is one of this very state of the file; otherwise it parses the file, and leaves a
/// snapshot for the next process. docs/configuration-store.md tells how a change is noticed.
/// None when the file cannot be read (errno tells why, `fault` is empty) or is no whole XML
/// document (`fault` is "line N: reason").
std::optional<XmlFile> readXmlFile(const std::string &path, const std::string &snapshot,
                                   std::string &fault);

} // namespace zandorin::platform
