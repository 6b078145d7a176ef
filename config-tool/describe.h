#pragma once

#include "config-tool/catalogue.h"

#include <string>

// What the tables say, for readers.

namespace zandorin::config_tool {

/// Sections of docs/configuration.md, Markdown: the keys of each page, and the names of fields
/// that are none.
std::string describedTables(const Catalogue &catalogue);

/// The same and more as JSON: an array of fields.
std::string describedJson(const Catalogue &catalogue);

/// Rows of the search box, [form id, label, name of the input, help], one a line. Of a page that
/// is about one of several places the names are those of the first.
std::string searchIndex(const Catalogue &catalogue, const ConfigManager &config);

} // namespace zandorin::config_tool
