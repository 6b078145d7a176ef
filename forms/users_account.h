#pragma once

#include "platform/accounts/account_file.h"
#include "platform/accounts/password_hash.h"

#include <optional>
#include <string>
#include <vector>

namespace zandorin::users {

class RecordForm;

/// A user whose groups and password are not this page's business.
inline constexpr const char *root_name = "root";

/// Throws utilities::Exception when the account file is there and cannot be read: what looks like
/// no account must not be taken for one that is missing.
std::optional<Account> accountNamed(const std::string &name);

/// True for an account of the console: made by this page, or one like it. Others are the system's.
bool isOwn(const Account &account);

/// True when there is an account of that name and it has a password.
bool hasPassword(const std::string &name);

/// What a submission makes of a user's account.
struct AccountTask {
    std::string oldName; ///< "" for a new user
    std::string name;
    std::string description;
    std::optional<std::string> password = std::nullopt; ///< in clear; none: as it is
    bool disabled = false;
    PasswordHash way = PasswordHash::md5; ///< that a new password is hashed
};

/// The submitted password when it is a new one; "" when the account is to have none. Adds an error
/// for each rule that a password breaks. `groups` are those submitted, `before` those stored.
std::optional<std::string> submittedPassword(const RecordForm &form, const std::string &name,
                                             const std::vector<std::string> &groups,
                                             const std::vector<std::string> &before);

/// Adds an error when the account of that name is the system's, or another user's.
void checkAccount(const RecordForm &form, const std::string &name);

/// Makes or changes the account, in one step, and moves its home folder; an account that is there
/// without a user becomes this user's. False, with the reason in the log, when that failed.
bool applyAccount(const AccountTask &task);

} // namespace zandorin::users
