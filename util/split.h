#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zandorin::utilities {

/// The pieces of `text` between any of the characters in `separators`; empty pieces are dropped.
std::vector<std::string> split(std::string_view text, std::string_view separators);

} // namespace zandorin::utilities
