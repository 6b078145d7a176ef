#pragma once

#include "platform/accounts/password_hash.h"

#include <optional>
#include <string>
#include <string_view>

namespace zandorin {

/// The file that holds the hashes of login passwords: /etc/config/passwd itself, in the
/// seven-field format of passwd(5).
class ShadowFile {
  public:
    /// Opens /etc/config/passwd of the appliance.
    ShadowFile();
    /// `path` is a path of this machine.
    explicit ShadowFile(std::string path);

    /// The stored hash of `name`'s password; none when the file or the account is not there.
    std::optional<std::string> hashOf(std::string_view name) const;

  private:
    std::string path_;
};

/// True when the account `name` of the file has `password`, in clear, as its password. False for
/// an account that is missing or locked (an empty hash, or one that crypt(3) does not take).
bool user_ispassword(const ShadowFile &shadow, const std::string &name,
                     const std::string &password);

/// The one-way hash of a clear password with a fresh salt: SHA-512 crypt ("$6$", crypt(5)) or
/// yescrypt ("$y$"). "" when it cannot be made, and for MD5; an empty hash must never be stored.
std::string user_getcryptedpassword(const std::string &password,
                                    PasswordHash way = PasswordHash::sha512);

} // namespace zandorin
