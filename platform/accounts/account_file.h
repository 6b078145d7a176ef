#pragma once

#include "platform/accounts/account_line.h"
#include "util/fd.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace zandorin {

/// The lines of /etc/config/passwd. Driven as: open(), which takes the lock of all writers, change,
/// save(); or read() alone to look. A line that is no account, or is not changed, stays as it is.
class AccountFile {
  public:
    /// Takes the lock and reads; a file that is missing counts as empty when it may be. False, and
    /// a log record, when either failed.
    bool open(bool mayBeMissing = false);
    /// Reads without the lock. False when there is no such file.
    bool read();

    std::vector<Account> accounts() const;
    std::optional<Account> find(std::string_view name) const;
    void add(const Account &account);
    /// Puts the account in the place of the line of `name`.
    void set(std::string_view name, const Account &account);
    /// Removes every line of `name`.
    void remove(std::string_view name);

    /// Replaces the file, mode 0644. False, and a log record, when that failed; the old file then
    /// stands.
    bool save() const;

  private:
    UniqueFd lock_;
    std::vector<std::string> lines_;
};

// /etc/config/group. False, and a log record, when the file cannot be written.

/// Adds a group without members unless it is there.
bool addGroup(const std::string &name, gid_t gid);
/// The same with the smallest id at or above `first` that no group has.
bool addFreeGroup(const std::string &name, gid_t first);
/// Gives the group another name, its id above `system` taken as the sign that it is no group of
/// the system's own; true when there is none. Where a group has that name already, it goes instead.
bool renameGroup(const std::string &name, const std::string &newName, gid_t system);
bool removeGroup(const std::string &name, gid_t system);

} // namespace zandorin
