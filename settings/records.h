#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zandorin {
class ConfigManager;
}

namespace zandorin::settings {

struct List;

/// A list of records in the configuration: <key>.<word>1 and so on, their number in <key>.total.
/// Only the entries that are there count, in the order of their numbers, whatever the total says; a
/// gap or a wrong total is logged, and every change of the list mends it. Numbers are written
/// without leading zeros and go up to 10000.
class RecordList {
  public:
    RecordList(std::string key, std::string word) : key_(std::move(key)), word_(std::move(word)) {}

    const std::string &key() const { return key_; }
    const std::string &word() const { return word_; }
    std::string keyOf(unsigned number) const { return key_ + "." + word_ + std::to_string(number); }

    /// The numbers of the entries, ascending.
    std::vector<unsigned> numbers(const ConfigManager &config) const;
    /// The same, and what is damaged is logged.
    std::vector<unsigned> checkedNumbers(const ConfigManager &config) const;
    bool contains(const ConfigManager &config, unsigned number) const;
    /// What number the entry has once the list is settled; 0 when it is not there.
    unsigned rankOf(const ConfigManager &config, unsigned number) const;
    /// The number that a new entry gets.
    unsigned next(const ConfigManager &config) const;
    /// The entry whose value below `.name` is `value`; the entry's own value where `name` is "".
    std::optional<unsigned> find(const ConfigManager &config, std::string_view name,
                                 std::string_view value) const;

    /// Differs as soon as anything in the entry does; "" when it is not there.
    std::string hashOf(const ConfigManager &config, unsigned number) const;

    // Changes, in the store's memory. A number that is not there changes nothing.

    void remove(ConfigManager &config, unsigned number) const;
    /// Makes `from` the entry number `to`; those between them make room.
    void move(ConfigManager &config, unsigned from, unsigned to) const;
    /// Adds a copy behind the last entry; answers its number, 0 when nothing was copied.
    unsigned copy(ConfigManager &config, unsigned number) const;
    /// Closes gaps and writes the total, which an empty list has none of. After every change that
    /// was not made by the operations above.
    void settle(ConfigManager &config) const;

  private:
    /// All below one entry: what follows its key, and the value.
    using Contents = std::vector<std::pair<std::string, std::string>>;

    Contents contents(const ConfigManager &config, unsigned number) const;
    void write(ConfigManager &config, unsigned number, const Contents &contents) const;

    std::string key_;
    std::string word_;
};

/// Makes the text of an older release records of the list, in the store's memory (see List::text).
void adoptText(ConfigManager &config, const List &list);

/// Lists whose entries are single texts; empty entries are left out.
std::vector<std::string> readTextList(const ConfigManager &config, const std::string &key,
                                      std::string_view word);
/// Makes these the entries, whatever was there; without any the key is deleted.
void writeTextList(ConfigManager &config, const std::string &key, std::string_view word,
                   const std::vector<std::string> &texts);

} // namespace zandorin::settings
