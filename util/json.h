#pragma once

#include <string>
#include <string_view>

namespace zandorin {

/// ISO-8859-1 text as a JSON string, quotes included, in ASCII alone and without "<", so that it
/// can be in a script element of a page (RFC 8259, section 7).
std::string jsonString(std::string_view text);

} // namespace zandorin
