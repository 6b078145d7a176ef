#pragma once

#include <string>
#include <string_view>

// Small pieces that all markup is made of.

namespace zandorin::ui {

/// Text between tags: & < > become entities, all else stands.
std::string escapeText(std::string_view text);

/// An attribute's value: as escapeText, and both quotes too.
std::string escapeAttribute(std::string_view text);

/// ` name="value"`, the value escaped.
std::string attribute(std::string_view name, std::string_view value);

/// The same, or nothing for an empty value.
std::string optionalAttribute(std::string_view name, std::string_view value);

/// ` onClick="script"`, the page author's script as it is, or nothing for an empty one. It may hold
/// no double quote.
std::string scriptAttribute(std::string_view name, std::string_view script);

} // namespace zandorin::ui
