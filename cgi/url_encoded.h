#pragma once

#include "cgi/field.h"

#include <string>
#include <string_view>

namespace zandorin::cgi {

/// Decodes "+" and "%" escapes. Hexadecimal digits are upper case; anything else in their place is
/// computed with all the same ("%2f" is "O"), and a missing one counts as a zero byte.
std::string decodeUrlText(std::string_view text);

/// Decodes the fields of a query string or an "application/x-www-form-urlencoded" body. A name
/// ends at "=" only, so "c&d=2" is a field "c&d"; fields with an empty value are left out.
void decodeUrlEncoded(std::string_view text, const FieldSink &store);

} // namespace zandorin::cgi
