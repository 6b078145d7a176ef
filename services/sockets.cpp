#include "services/sockets.h"

#include "util/fd.h"

#include <cstdint>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace zandorin::services {

bool acceptsConnections(unsigned tcpPort) {
    const UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(tcpPort));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return socket && ::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address),
                               sizeof address) == 0;
}

} // namespace zandorin::services
