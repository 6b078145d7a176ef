#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Encoders between what came from outside and a page. The C-style ones take zero-terminated input
// and write terminated output; the string ones are the rules themselves.

namespace zandorin {

/// HTML-safe text: digits, ASCII letters, the blank and @ : _ = $ + , - . / stand, & < > " ' become
/// named entities, every other byte "&#x%02x;".
std::string encodeSafe(std::string_view text);

/// The same in single quotes: text from outside, as messages name it.
std::string quoted(std::string_view text);

/// This program's own URI encoding, which is not RFC 3986: bytes outside its set become "%", their
/// value in decimal with at least two digits, and, below 100, ";".
std::string encodeUri(std::string_view text);

/// HTML text and attribute values: & < > " ' and / are escaped, all else stands.
std::string escapeHtmlString(std::string_view text);

/// Text between tags: & < > become named entities, all else stands.
std::string escapeXmlText(std::string_view text);

/// Text of unknown origin between tags: what is valid UTF-8 (RFC 3629) as numeric references, other
/// bytes as ISO-8859-1.
std::string escapeUtf8Text(std::string_view text);

/// An attribute's value: as text between tags, and both quotes too.
std::string escapeXmlAttribute(std::string_view text);
/// Adds the escaped value, which must not lie in `markup`.
void appendXmlAttribute(std::string &markup, std::string_view text);

/// Writes at most size - 1 bytes of the encoding into `buffer`, when it is not null, and the full
/// encoded length into *length. Always 0.
int encode_safe(const char *input, char *buffer, std::size_t size, std::size_t *length);
int encode_uri(const char *input, char *buffer, std::size_t size, std::size_t *length);

/// The encoding in a new buffer, to be freed with encode_safe_free. 0, or -1 with *result null.
int encode_safe_alloc(const char *input, char **result);
int encode_uri_alloc(const char *input, char **result);
/// Frees the buffer and nulls the pointer to it.
void encode_safe_free(char **buffer);

/// Fills `output` with the HTML-escaped input; -1 when it did not fit in size - 1 bytes, else 0.
int escapeHtml(const char *input, char *output, std::size_t size);

/// Writes every byte as "&#x%02x;"; -1 when it did not fit in size - 1 bytes, else 0.
int escapeAllHex(const char *input, char *output, std::size_t size);

} // namespace zandorin
