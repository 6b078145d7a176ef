#pragma once

#include <optional>
#include <string>
#include <string_view>

// Pieces of MIME (RFC 2045, 2046, 2183) that form data is made of. Nothing here fails: what is
// malformed is decoded as far as it makes sense.

namespace zandorin::cgi {

/// What stands before the parameters of a header's value, such as "form-data".
std::string_view headerToken(std::string_view value);

/// The first parameter of that name (any letter case), quoted or bare; none when it is not there.
/// In quotes only \" and \\ are escapes, since browsers send the paths of files as they are; a
/// missing closing quote is taken at the end.
std::optional<std::string> headerParameter(std::string_view value, std::string_view name);

/// The gcgi_mime_type of "text/plain", letter case ignored.
int mimeType(std::string_view token);
/// The subtype of "text/plain" as it stands, "" without one.
std::string mimeSubtype(std::string_view token);
/// The gcgi_encoding of that name, letter case ignored.
int transferEncoding(std::string_view token);

/// The bytes that `body` stands for; the body itself for encodings that change nothing. Base64
/// skips what is not in its alphabet and ends at "="; quoted-printable leaves an "=" that escapes
/// nothing as it is.
std::string decodeTransfer(int encoding, std::string body);

} // namespace zandorin::cgi
