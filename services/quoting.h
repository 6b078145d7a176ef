#pragma once

#include <string>
#include <string_view>

// Text of unknown origin as one value of each format that services write. Control characters are
// left out: no format has them in a value.

namespace zandorin::services {

/// A word of conserver.cf(5): every character that is no letter or digit has a backslash.
std::string conserverWord(std::string_view text);

/// A scalar of YAML (1.1, 5.7) in double quotes; ser2net.yaml(5) expands "*(" and "*{" in it, which
/// are doubled.
std::string ser2netText(std::string_view text);

/// A value of msmtprc(5), in double quotes: only the first and the last one of a line are quotes.
std::string msmtpText(std::string_view text);

/// A host name or address for chrony.conf(5), which has no quotes: other characters are left out.
std::string chronyWord(std::string_view text);

} // namespace zandorin::services
