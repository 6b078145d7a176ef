#pragma once

#include <string>
#include <string_view>

namespace zandorin {

/// The folder that stands for "/" on this machine: the environment variable ZANDORIN_ROOT without
/// its trailing slashes, "" when it is unset, empty or "/". A CGI client cannot set it, since what
/// a client sends arrives in variables named HTTP_...
const std::string &applianceRoot();

/// Where the appliance's absolute `path` is on this machine. Every path of the appliance that is
/// opened, tested or started goes through here; /dev/... and the shells are the host's own and do
/// not. Texts for the user name the path as it was before.
std::string appliancePath(std::string_view path);

} // namespace zandorin
