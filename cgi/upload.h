#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include <sys/statvfs.h>
#include <sys/types.h>

namespace zandorin {

class Cgi;

/// True when the file system has room for `size` bytes, in whole blocks rounded down, and 50 blocks
/// to spare for users without privileges.
bool hasRoomFor(const struct statvfs &fileSystem, std::size_t size);

/// Stores the uploaded file of a field at `destination` (of this machine) with permissions `mode`:
/// all bytes that the decoder kept of it, also behind a zero byte. A file longer than the decoder's
/// field limit (gcgiApplyLimits) is cut there, which only a debug record tells. True on success.
/// False when the field is missing or empty, the file system has less than the file and 50 blocks
/// free, the client's file name holds anything but letters, digits, "-_.@", or the file cannot be
/// written; what the user can mend is added to the request's errors, the rest is logged. When the
/// file cannot be created, the process is left with an umask of 0.
bool uploadFile(Cgi &form, const std::string &fieldName, const std::string &destination,
                mode_t mode);

/// The bytes of the file that was chosen for a field; none when there was none, or when the
/// client's file name is refused as above, which is an error of the request.
std::optional<std::string> uploadedText(Cgi &form, const std::string &fieldName);

} // namespace zandorin
