#pragma once

#include <string>

namespace zandorin::platform {

/// The hash of a clear password in the way that `setting` (a salt or a whole hash, crypt(5)) says;
/// "" when crypt(3) does not take the setting or the password, or is not to be had.
/// libcrypt is loaded by the first call: few requests need it, and loading it costs each about a
/// twentieth.
std::string hashPassword(const std::string &password, const std::string &setting);

} // namespace zandorin::platform
