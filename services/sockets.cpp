#include "services/sockets.h"

#include "util/fd.h"

#include <cstdint>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace zandorin::services {

bool acceptsConnections(const std::string &text, unsigned tcpPort) {
    const UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(tcpPort));
    return socket && ::inet_pton(AF_INET, text.c_str(), &address.sin_addr) == 1 &&
           ::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) ==
               0;
}

} // namespace zandorin::services
