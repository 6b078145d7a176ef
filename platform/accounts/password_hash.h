#pragma once

#include <string>
#include <string_view>

namespace zandorin {

/// Ways to hash a new password (crypt(5)). Whoever checks one reads from the hash which it is.
enum class PasswordHash { md5, sha512, yescrypt };

/// The way that the configuration (config.auth.passwordhash) names; MD5 for any other word.
PasswordHash passwordHashNamed(std::string_view word);

} // namespace zandorin

namespace zandorin::platform {

/// The hash of a clear password in the way that `setting` (a salt or a whole hash, crypt(5)) says;
/// "" when crypt(3) does not take the setting or the password, or is not to be had.
/// libcrypt is loaded by the first call: few requests need it, and loading it costs each about a
/// twentieth.
std::string hashPassword(const std::string &password, const std::string &setting);

/// A fresh setting for hashPassword, with a salt and the cost that libcrypt takes by itself. ""
/// when it cannot be made, or for MD5, whose layout is the account files' own (user_makesalt).
std::string freshSetting(PasswordHash way);

} // namespace zandorin::platform
