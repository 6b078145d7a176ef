#pragma once

#include "util/fd.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace zandorin {

/// One record of passwd(5).
struct Account {
    std::string name;
    std::string hash;
    uid_t uid = 0;
    gid_t gid = 0;
    std::string description;
    std::string home;
    std::string shell;
};

/// The lines of /etc/config/passwd. Driven as: open(), which takes the lock of all writers, change,
/// save(); or read() alone to look. A line that is no account, or is not changed, stays as it is.
class AccountFile {
  public:
    /// Takes the lock and reads. False, and a log record, when either failed.
    bool open();
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

/// Adds a group to /etc/config/group unless it is there. False, and a log record, when the file
/// cannot be written.
bool addGroup(const std::string &name, gid_t gid);

} // namespace zandorin
