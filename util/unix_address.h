#pragma once

#include <optional>
#include <string>

#include <sys/un.h>

namespace zandorin {

/// The address of the local socket at `path`, of this machine (unix(7)). None, with errno
/// ENAMETOOLONG, for a path that does not fit.
std::optional<sockaddr_un> unixAddress(const std::string &path);

} // namespace zandorin
