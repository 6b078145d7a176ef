#pragma once

#include <string>
#include <string_view>

namespace zandorin::settings {

/// A text of a table with `value` in place of its first "{}"; one without stays as it is. Where the
/// text is markup, the value is escaped already.
inline std::string filledIn(std::string text, std::string_view value) {
    constexpr std::string_view blank = "{}";
    if (const auto at = text.find(blank); at != std::string::npos)
        text.replace(at, blank.size(), value);
    return text;
}

} // namespace zandorin::settings
