#pragma once

#include <string>

namespace zandorin {
class Cgi;
}

namespace zandorin::users {

class RecordForm;

/// What the fields of SSH keys hold, in bytes at most.
inline constexpr int keys_limit = 16383;

/// Of the record: a text area, and a file whose keys are added to it.
inline constexpr const char *keys_field = ".ssh_auth_keys";
inline constexpr const char *keys_file_field = ".ssh_auth_keys.file";

/// The submitted keys, typed and uploaded, one a line; lines that are empty or begin with "#" are
/// left out. Adds an error to the request for a file that cannot be taken and for the first line
/// that is no key.
std::string submittedKeys(const RecordForm &form);

} // namespace zandorin::users
