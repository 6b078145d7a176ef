#include "util/unix_address.h"

#include <cerrno>
#include <cstring>

#include <sys/socket.h>

namespace zandorin {

std::optional<sockaddr_un> unixAddress(const std::string &path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return std::nullopt;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

} // namespace zandorin
