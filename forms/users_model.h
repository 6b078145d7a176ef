#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin {
class ConfigManager;
}

// The numbered records of users and groups in the configuration. A list is its entries
// <list>.<word>1 and so on, and their number, <list>.total.

namespace zandorin::users {

/// One of the two lists.
struct Kind {
    const char *word;      ///< before an entry's number
    const char *list;      ///< key of the list
    const char *nameField; ///< behind an entry's key
};
inline constexpr Kind user_kind = {"user", "config.users", ".username"};
inline constexpr Kind group_kind = {"group", "config.groups", ".name"};

struct Record {
    unsigned index = 0; ///< from 1
    std::string key;    ///< of the record, such as config.users.user1
    std::string name;   ///< "" when it is not stored yet
};

/// The key of the entry with that number, whether there is one or not.
std::string keyOf(const Kind &kind, unsigned index);

/// The records that have a name, by number; the others are logged and left out. Entries above the
/// list's total are among them: they count for a login too.
std::vector<Record> records(const ConfigManager &config, const Kind &kind);
std::optional<Record> recordAt(const ConfigManager &config, const Kind &kind, unsigned index);
std::optional<Record> recordNamed(const ConfigManager &config, const Kind &kind,
                                  std::string_view name);

/// The number behind the last entry.
unsigned nextIndex(const ConfigManager &config, const Kind &kind);
/// Writes the list's total, which follows from its entries; an empty list has none.
void writeTotal(ConfigManager &config, const Kind &kind);
/// Removes an entry and moves those behind it, with all they hold, so that no number is missing.
void removeRecord(ConfigManager &config, const Kind &kind, unsigned index);

/// The values of a list inside a record, such as <key>.groups with the word "group".
std::vector<std::string> values(const ConfigManager &config, const std::string &list,
                                std::string_view word);
/// Replaces them; without values the list is removed.
void setValues(ConfigManager &config, const std::string &list, std::string_view word,
               const std::vector<std::string> &values);

/// The numbers N of <list>.<word>N, ascending.
std::vector<unsigned> numbers(const ConfigManager &config, const std::string &list,
                              std::string_view word);

/// Gives a group another name in every user's list, or takes it out for a new name of "".
void renameInUsers(ConfigManager &config, const std::string &group, const std::string &newName);

/// A group that exists without a record, with roles of its own.
bool isBuiltIn(std::string_view group);
/// The names of the built-in groups and of all records, each once.
std::vector<std::string> groupNames(const ConfigManager &config);

} // namespace zandorin::users
