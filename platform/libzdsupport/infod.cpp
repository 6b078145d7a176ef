#include "platform/libzdsupport/infod.h"

#include "util/fd.h"
#include "util/paths.h"
#include "util/unix_address.h"

#include <string>

#include <sys/socket.h>

int infod_push_text(const char *key, int kind, const char *text) {
    if (key == nullptr || text == nullptr)
        return -1;
    const auto address = zandorin::unixAddress(zandorin::appliancePath(zandorin::infod_socket));
    if (!address)
        return -1;
    const zandorin::UniqueFd fd(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd)
        return -1;
    std::string datagram = key;
    datagram.append(1, '\0').append(std::to_string(kind)).append(1, '\0').append(text);
    const ssize_t sent = ::sendto(fd.get(), datagram.data(), datagram.size(), 0,
                                  reinterpret_cast<const sockaddr *>(&*address), sizeof *address);
    return sent == static_cast<ssize_t>(datagram.size()) ? 0 : -1;
}
