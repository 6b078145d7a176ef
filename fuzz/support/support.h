#pragma once

#include "fuzz/support/pieces.h"
#include "platform/libzandorin/xml_image.h"
#include "platform/pam-client/protocol.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What the fuzz targets share. Each process has an empty appliance root of its own, below TMPDIR,
/// with /etc/config and /var/run/.sessions in it. Nothing is synced to disk, nothing is logged, no
/// process is really ended, and nobody waits.
namespace zandorin::fuzz {

/// A target: feeds the input to what reads such bytes, and requires a property of the answer.
void run(std::string_view input);

/// Ends the process with a report of the place when the property does not hold.
void require(bool holds, const char *what = "", const char *file = __builtin_FILE(),
             int line = __builtin_LINE());

/// Writes all of it; a file of the appliance is written in place.
void put(int descriptor, std::string_view bytes);
void put(std::string_view path, std::string_view bytes);

/// A message of the authentication protocol; where its type carries one, its text.
using Message = std::pair<auth::Message, std::optional<std::string>>;

/// Takes a message off the front of `bytes`; none when it is not whole. Those types carry a text.
std::optional<Message> takeMessage(std::string_view &bytes,
                                   std::initializer_list<auth::Message> withText);

/// Id of the process that was ended last; only SIGTERM, to one process, is let through.
inline pid_t endedProcess = 0;

/// Requires that the image answers what the tree holds, element by element.
void requireEqual(const platform::XmlImage &image, const platform::XmlNode &node,
                  platform::XmlImage::Element element = platform::XmlImage::root);

/// Asks the image everything, whatever it is made of; requires that each walk ends and that no
/// answer lies outside of its bytes.
void requireHarmless(const platform::XmlImage &image);

} // namespace zandorin::fuzz
