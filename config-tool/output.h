#pragma once

#include <string>
#include <utility>
#include <vector>

namespace zandorin::config_tool {

/// Markup of a page as text.
std::string plainText(const std::string &markup);

/// Names with raw texts, in ISO-8859-1, as one JSON object.
std::string jsonObject(const std::vector<std::pair<std::string, std::string>> &members);

} // namespace zandorin::config_tool
