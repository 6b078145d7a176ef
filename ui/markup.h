#pragma once

#include <string>
#include <string_view>

// Small pieces that all markup is made of.

namespace zandorin::ui {

/// ` name="value"`, the value escaped.
std::string attribute(std::string_view name, std::string_view value);
/// Adds the same. Neither text may lie in `markup`.
void appendAttribute(std::string &markup, std::string_view name, std::string_view value);

/// The same, or nothing for an empty value.
std::string optionalAttribute(std::string_view name, std::string_view value);

/// ` onClick="script"`, the page author's script as it is, or nothing for an empty one. It may hold
/// no double quote.
std::string scriptAttribute(std::string_view name, std::string_view script);

} // namespace zandorin::ui
