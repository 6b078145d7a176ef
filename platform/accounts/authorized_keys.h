#pragma once

#include <string>

namespace zandorin {

struct Account;

/// Makes `keys` (lines without a last line end, see sshd(8)) the file .ssh/authorized_keys of the
/// account's home folder, mode 0600 and the account's own; empty keys remove the file. The user
/// owns these folders: no link that may lie in them is followed. False, and a log record, when the
/// file could not be replaced; the old one then stands.
bool writeAuthorizedKeys(const Account &account, const std::string &keys);

} // namespace zandorin
