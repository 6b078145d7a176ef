#pragma once

#include "settings/parts.h"
#include "settings/problems.h"

#include <string>

namespace zandorin {
class ConfigManager;
}

// What a change of a record obeys, and what follows from it, whether a page or a command makes it.

namespace zandorin::settings {

/// What a message calls a record, such as "auto-response".
std::string nounOf(const List &list);

/// The record's name as it is stored; "" when it has none.
std::string nameOf(const ConfigManager &config, const Part &record);

/// True when the table says that the record of that name can not be deleted or switched off.
bool isFixed(const List &list, const std::string &name);

/// Adds a problem when the record is fixed; `done` is what can not be done to it: "deleted".
void checkFixed(const ConfigManager &config, const Part &record, const std::string &done,
                Problems &problems);
/// Adds a problem when the record can not have that name. One of "" is another check's.
void checkName(const ConfigManager &config, const Part &record, const std::string &name,
               Problems &problems);
/// Adds a problem when the record would be of no variant that the appliance has.
void checkVariant(const Part &record, const Values &values, Problems &problems);

// Changes, in the store's memory.

/// Has everything follow the record's values, which are in the store already: what names it where
/// it is called `oldName` so far ("": nowhere), values of other variants, derived ones, the list.
void settleRecord(ConfigManager &config, const Part &record, const std::string &oldName);
/// Deletes it, also where others name it.
void removeRecord(ConfigManager &config, const Part &record);

} // namespace zandorin::settings
