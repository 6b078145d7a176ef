#pragma once

#include "settings/page.h"
#include "settings/records.h"
#include "settings/values.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin::settings {

/// What is checked and saved as one: the sections of a page at one of its places, or a record of
/// one of its lists. Points into the page's table.
struct Part {
    Place place;
    std::span<const Section> sections;
    Rule rule = nullptr;
    const List *list = nullptr; ///< of a record
    std::string listKey = "";
    unsigned number = 0; ///< of a record; 0 for one that is not there yet

    bool isNew() const { return list != nullptr && number == 0; }
    RecordList records() const { return {listKey, list->word}; }

    /// The values of all fields, a record's variant included, see Values.
    Values values(const ConfigManager &config, const Submission *submission = nullptr) const;
};

/// Every part that the appliance has, records inside records included; and of each list that can
/// grow the record that comes next, whose fields' names begin with <key>.new.
std::vector<Part> partsOf(const Page &page, const ConfigManager &config);

/// The part that a field's key or name belongs to, as far as its beginning says. None on a page
/// without one.
std::optional<Part> partOf(const Page &page, const ConfigManager &config, std::string_view key);

/// True for what has one key in the configuration, or of flags one for each box.
bool isSingle(const Value &value);

/// The value whose name or key is `key`, or null; of flags that of any box.
const Value *findValue(const Values &values, std::string_view key);

} // namespace zandorin::settings
