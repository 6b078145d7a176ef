#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zandorin {
class ConfigManager;
}

// Auto-responses and their actions as they stand in the configuration: lists of entries numbered
// from 1 without gaps, with a count beside them.

namespace zandorin::autoresponse {

/// Key of every auto-response but for its number.
inline constexpr const char *all_records = "config.autoresponse.autoresponse";

std::string recordKey(unsigned number);

/// Everything below one entry: what follows the entry's own key (".email.name", "" for the entry
/// itself), and the value.
using Entry = std::vector<std::pair<std::string, std::string>>;

// `list` is the entries' key without their number; the count is the ".total" beside them.

/// The count as stored, but never more than there can be entries.
unsigned countEntries(const ConfigManager &config, const std::string &list);
std::vector<Entry> readList(const ConfigManager &config, const std::string &list);
/// Makes these the entries, numbered anew, whatever stood there before.
void writeList(ConfigManager &config, const std::string &list, const std::vector<Entry> &entries);
/// Numbers count from 1; one outside the list changes nothing.
void removeEntry(ConfigManager &config, const std::string &list, unsigned number);
void moveEntry(ConfigManager &config, const std::string &list, unsigned from, unsigned to);
/// Lists whose entries are single values.
std::vector<std::string> readValues(const ConfigManager &config, const std::string &list);
void writeValues(ConfigManager &config, const std::string &list,
                 const std::vector<std::string> &values);

/// The actions of one of the two lists, "trigger" or "resolve", without their number.
/// "" for another word, which is logged.
std::string actionList(const std::string &record, std::string_view word);

/// The configuration key that a field of an action stands for: "trigger.2.email.name" is
/// "<record>.trigger_actions.action2.email.name", and "new" in place of a number is the action
/// after the last. "" for a name that is no such field; an unknown first word is logged.
std::string resolveActionKey(const ConfigManager &config, const std::string &record,
                             std::string_view field);

/// Differs as soon as anything in the record does, its number included; "" when there is no such
/// record. What a page was made from travels with its form, and is compared before anything is
/// changed.
std::string fingerprint(const ConfigManager &config, unsigned number);

} // namespace zandorin::autoresponse
