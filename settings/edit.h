#pragma once

#include "settings/parts.h"
#include "settings/problems.h"

#include <map>
#include <string>

namespace zandorin {
class ConfigManager;
}

// Changes by command, under the rules and with the messages of the pages, which are markup. They
// change the store's memory, and nothing at all when they find a problem.

namespace zandorin::settings {

/// Texts by whole configuration key; "" deletes, and so does "off" of a box.
using Changes = std::map<std::string, std::string>;

/// Sets single values of one part. Of the rules only what the change breaks is a problem, not what
/// was broken before.
Problems change(ConfigManager &config, const Part &part, const Changes &changes);

/// Adds a record, `part` being one that is not there yet.
Problems addRecord(ConfigManager &config, const Part &part, const Changes &changes);

/// Deletes a record.
Problems deleteRecord(ConfigManager &config, const Part &part);

/// Everything that is wrong with a part as it is stored.
Problems checkStored(const ConfigManager &config, const Part &part);

} // namespace zandorin::settings
