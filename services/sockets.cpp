#include "services/sockets.h"

#include <cstdint>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace zandorin::services {

UniqueFd connectTcp(const std::string &text, unsigned tcpPort, std::chrono::seconds patience) {
    UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval limit = {.tv_sec = static_cast<time_t>(patience.count()), .tv_usec = 0};
    for (const int direction : {SO_RCVTIMEO, SO_SNDTIMEO})
        ::setsockopt(socket.get(), SOL_SOCKET, direction, &limit, sizeof limit);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(tcpPort));
    if (::inet_pton(AF_INET, text.c_str(), &address.sin_addr) != 1 ||
        ::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return {};
    return socket;
}

bool acceptsConnections(const std::string &address, unsigned tcpPort) {
    return static_cast<bool>(connectTcp(address, tcpPort, std::chrono::seconds(0)));
}

} // namespace zandorin::services
