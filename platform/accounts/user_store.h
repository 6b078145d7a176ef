#pragma once

#include "platform/accounts/account_line.h"
#include "platform/accounts/password_hash.h"

#include <optional>
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

/// The hash of a clear password with a fresh salt, MD5 crypt where no other is asked for; "" when
/// it cannot be made, which must never be stored.
std::string user_hashpassword(const std::string &password, PasswordHash way = PasswordHash::md5);

/// 1 when the account exists (getpwnam(3)) and has this password, else 0.
int user_ispassword(const std::string &name, const std::string &password);

/// The account of that name. Throws utilities::Exception when the file is there and cannot be read:
/// what looks like no account must not be taken for one that is missing.
std::optional<Account> user_find(const std::string &name);
/// True for an account that was made here, or is like it; others are the system's.
bool user_isown(const Account &account);
/// True when there is an account of that name and it has a password. Throws as user_find does.
bool user_haspassword(const std::string &name);

/// The smallest gap above the first used id, as ids at or above 1000 go; 1000 when there is none.
uid_t user_getfreeuid();

/// Adds a group without members; one of that name is left as it is, and that is a success.
int user_addgroup(const std::string &name, gid_t gid);
/// The same with the smallest free id above 1000, which is the group of all accounts made here.
int user_addgroup(const std::string &name);

/// Gives a group another name, or removes it. Groups with ids up to 1000 are the system's and are
/// left alone; that one, or none of that name, is a success.
int user_renamegroup(const std::string &name, const std::string &newName);
int user_delgroup(const std::string &name);

/// Adds an account with a free id, group 1000, a home folder of its own and /bin/bash. Fails for a
/// name that is taken. An empty password is none: nobody logs in with it.
int user_adduser(const std::string &name, const std::string &password,
                 const std::string &description, PasswordHash way = PasswordHash::md5);

/// What to change of an account; what is left out stays.
struct AccountChange {
    std::optional<std::string> name = std::nullopt; ///< the home folder moves along
    std::optional<std::string> password =
        std::nullopt;                     ///< in clear; an empty one is none, as for user_adduser
    PasswordHash way = PasswordHash::md5; ///< of the password
    std::optional<std::string> description = std::nullopt;
    /// False: no login, whatever the way. The hash is kept behind a "!" and the shell is
    /// /bin/false, until true brings both back. A new password does not enable an account.
    std::optional<bool> enabled = std::nullopt;
};

/// Changes an account in one step: a reader sees the old line or the new one. Ids stay; a home
/// folder that is missing, or half made, is made whole. Fails when there is no such account, or a
/// new name is taken. A rename that a crash or a failure interrupted can be done again: with no
/// account of the old name, one of the new name is changed, and its home folder moved if that still
/// has the old name.
int user_changeuser(const std::string &name, const AccountChange &change);

/// The same for what may not be there yet: without an account of either name, one is made.
int user_putuser(const std::string &name, const AccountChange &change);

// Changes of one kind.
int user_setuser(const std::string &name, const std::string &password,
                 const std::string &description);
int user_setdescription(const std::string &name, const std::string &description);
int user_renameuser(const std::string &name, const std::string &newName);

/// Removes an account and its home folder with all that is in it. A link is removed, not followed.
int user_deluser(const std::string &name);

} // namespace zandorin
