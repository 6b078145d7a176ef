#include "platform/pam-client/conversation.h"
#include "platform/pam-client/server.h"
#include "util/log.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string_view>

#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

// The authentication helper of one web login. It asks PAM about the user who is named to it over
// its socket, and then tells whoever shows the session id how that came out, for as long as the
// session exists. docs/auth-protocol.md tells the conversation.

namespace {

using namespace zandorin;

constexpr std::size_t id_bytes = 16;
constexpr std::size_t legacy_id_bytes = 8;
/// A login that takes longer ends, whoever it is waiting for. Seconds.
constexpr unsigned login_limit = 300;

/// For the signal handler; set before the handler is.
char socket_path[sizeof(sockaddr_un::sun_path)];

void removeSocketAndExit(int) {
    ::unlink(socket_path);
    ::_exit(0);
}

/// Works while PAM sleeps, too.
void endOnSignals() {
    struct sigaction action = {};
    action.sa_handler = removeSocketAndExit;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGALRM})
        ::sigaction(signal, &action, nullptr);
    action.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &action, nullptr);
}

/// `size` random bytes in hexadecimal; "" when the kernel gave less.
std::string randomId(std::size_t size) {
    constexpr char digits[] = "0123456789abcdef";
    unsigned char bytes[id_bytes];
    if (::getrandom(bytes, size, 0) != static_cast<ssize_t>(size))
        return {};
    std::string id;
    for (std::size_t i = 0; i < size; ++i) {
        id += digits[bytes[i] >> 4U];
        id += digits[bytes[i] & 15U];
    }
    return id;
}

} // namespace

int main(int argc, char **argv) {
    const bool legacy = argc == 2 && std::string_view(argv[1]) == "-o";
    if (argc > 1 && !legacy)
        return 2;
    ::umask(077);
    openLog("pam-client");

    sockaddr_un address;
    const std::string id = randomId(legacy ? legacy_id_bytes : id_bytes);
    if (id.empty() || !auth::fillAddress(::getpid(), address)) {
        logRecord(Priority::error, "No session can be served: %s", std::strerror(errno));
        return 1;
    }
    std::memcpy(socket_path, address.sun_path, sizeof socket_path);
    endOnSignals();
    auth::Server server(id);
    if (!server.open()) {
        logRecord(Priority::error, "Cannot listen on %s: %s", socket_path, std::strerror(errno));
        return 1;
    }

    ::alarm(login_limit);
    auto first = server.next();
    if (!first)
        return 0;
    auth::Conversation conversation(server, std::move(*first));
    const auth::Message state = conversation.run();
    server.answer(conversation.client(), state);
    // A failed login has nothing to wait for once its limit is over.
    if (state == auth::Message::authenticated)
        ::alarm(0);
    while (auto request = server.next())
        server.answer(*request, state);
    return 0;
}
