#pragma once

#include <string>
#include <string_view>

/// The store's keys, and its two encodings of text.
namespace zandorin::platform {

/// True for a key of the store: "config", or segments joined by "." of which the first is "config"
/// and each begins with a letter or "_" and goes on with letters, digits, "_" and "-"; at most 64
/// segments, the depth to which a configuration file is read.
bool isConfigKey(std::string_view key);

/// Takes the first segment off `key`.
std::string_view takeSegment(std::string_view &key);

/// True for "on", "true", "yes" and "1" in any letter case.
bool isTrue(std::string_view value);

/// ISO-8859-1 to UTF-8: every byte is the character of that number.
std::string utf8FromLatin1(std::string_view text);

/// UTF-8, which must be valid, to ISO-8859-1; a character above U+00FF becomes its numeric
/// reference, such as "&#x20ac;".
std::string latin1FromUtf8(std::string_view text);

} // namespace zandorin::platform
