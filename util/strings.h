#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin {

/// Without leading and trailing white space (isspace in the C locale).
std::string_view trim(std::string_view text);

/// Equal when ASCII letter case is ignored.
bool equalsIgnoreCase(std::string_view a, std::string_view b);

/// With small ASCII letters in place of capital ones.
std::string lowerCase(std::string text);

/// True when `text` begins with `prefix`, ASCII letter case ignored.
bool startsWithIgnoreCase(std::string_view text, std::string_view prefix);

/// Where `words` begin in `text`, ASCII letter case ignored; npos when they are not in it.
std::size_t findIgnoringCase(std::string_view text, std::string_view words);

/// True when `text` holds a byte below 0x20 or 0x7f.
bool hasControlCharacter(std::string_view text);

/// True when one of the texts is `text`.
bool contains(const std::vector<std::string> &texts, std::string_view text);

/// Adds the pieces one after the other, in memory that is asked for once. None may lie in `text`.
void append(std::string &text, std::initializer_list<std::string_view> pieces);

/// The pieces one after the other.
std::string concat(std::initializer_list<std::string_view> pieces);

/// `text` as one word of a shell command, whatever stands in it but NUL.
std::string shellQuote(std::string_view text);

/// True for an ASCII letter or digit.
constexpr bool isAlphanumeric(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// The decimal number that `text` begins with, as strtoll(3) reads it: after white space, with an
/// optional sign. 0 when it begins with none, the nearest number of 64 bits when it does not fit.
std::int64_t leadingNumber(std::string_view text);

/// The decimal digits that `text` ends with: "3" of "port3". Lies in `text`.
std::string_view trailingDigits(std::string_view text);

/// The whole of `text` as a decimal number, an optional "-" first; nothing else may stand in it
/// (no blanks, no "+"). None when it is no such number or outside 64 bits.
std::optional<std::int64_t> parseWhole(std::string_view text);

} // namespace zandorin
