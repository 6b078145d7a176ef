#pragma once

#include <string>

#include <sys/types.h>

// The appliance's login accounts: /etc/config/passwd (passwd(5), hashes in the file itself),
// /etc/config/group (group(5)) and the home folders below /etc/config/users. The configuration is
// the master copy of the settings, these files are what a login sees.
//
// Writers take a lock, and a file is only ever replaced by a complete new one: a reader sees the
// old or the new one, whatever happens. Lines that are not concerned stay as they are, byte for
// byte. Functions that answer an int give 0 on success and -1 on failure, with the reason in the
// log.

namespace zandorin {

/// One name of letters, digits, ".", "_", "-" and "@" that begins with a letter or digit and is at
/// most 64 bytes long. No operation below touches a file for any other name.
bool user_isname(const std::string &name);

/// No ":" and no control character: fit to stand in a field of an account line.
bool user_isfield(const std::string &text);

/// A fresh salt for MD5 crypt (crypt(5)): "$1$" and nine characters of "./0-9A-Za-z", terminated.
/// In one static buffer, overwritten by the next call; null when the random source failed.
const char *user_makesalt();

/// MD5 crypt of a clear password with a fresh salt; "" when it cannot be made, which must never be
/// stored.
std::string user_hashpassword(const std::string &password);

/// 1 when the account exists (getpwnam(3)) and has this password, else 0.
int user_ispassword(const std::string &name, const std::string &password);

/// The smallest gap above the first used id, as ids at or above 1000 go; 1000 when there is none.
uid_t user_getfreeuid();

/// Adds a group without members; one of that name is left as it is, and that is a success.
int user_addgroup(const std::string &name, gid_t gid);

/// Adds an account with a free id, group 1000, a home folder of its own and /bin/bash. Fails for a
/// name that is taken.
int user_adduser(const std::string &name, const std::string &password,
                 const std::string &description);

/// Gives an account a new password and description, and /bin/bash. Ids and home folder stay.
int user_setuser(const std::string &name, const std::string &password,
                 const std::string &description);

/// Gives an account a new description alone.
int user_setdescription(const std::string &name, const std::string &description);

/// Gives an account another name, and its home folder too; ids and password stay. There is no
/// moment in which neither name has an account. Fails when the new name is taken.
int user_renameuser(const std::string &name, const std::string &newName);

/// Removes an account and its home folder with all that is in it. A link is removed, not followed.
int user_deluser(const std::string &name);

} // namespace zandorin
