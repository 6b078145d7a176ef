// The helper's end of a conversation: whatever a client sends, its request is what a plain reading
// of the bytes says, and the next client is served.

#include "fuzz/support/support.h"

#include "platform/pam-client/server.h"

#include <map>

#include <sys/socket.h>
#include <unistd.h>

namespace zandorin::fuzz {

using Type = auth::Message;
using Texts = std::map<Type, std::string>;

std::optional<Texts> readPlainly(std::string_view bytes) {
    Texts texts;
    for (int count = 0; count < 16; ++count) {
        const auto message =
            takeMessage(bytes, {Type::username, Type::sessionId, Type::reply, Type::clientAddress});
        if (message && message->first == Type::end)
            return texts;
        if (!message || !message->second || message->second->find('\0') != std::string::npos)
            return std::nullopt;
        texts[message->first] = *message->second;
    }
    return std::nullopt;
}

/// A client that waits for its answer.
UniqueFd client() {
    sockaddr_un address;
    UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    require(auth::fillAddress(::getpid(), address) &&
            ::connect(socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) == 0);
    return socket;
}

std::optional<std::string> find(const Texts &texts, Type type) {
    return texts.contains(type) ? std::optional(texts.at(type)) : std::nullopt;
}

/// `good` is served when `bytes` are no request that may be.
void serve(auth::Server &server, std::string_view bytes, const Texts &good) {
    const UniqueFd first = client();
    put(first.get(), bytes);
    ::shutdown(first.get(), SHUT_WR);
    const UniqueFd second = client();
    for (const auto &[type, text] : good)
        require(auth::sendMessage(second.get(), type, text));
    require(auth::sendMessage(second.get(), Type::end));

    const auto plain = readPlainly(bytes);
    bool acceptable = plain.has_value();
    for (const auto &[type, text] : good)
        acceptable = acceptable && plain->contains(type) &&
                     (type != Type::sessionId || plain->at(type) == text);
    const Texts &expected = acceptable ? *plain : good;
    auto request = server.next();
    require(request && request->username == find(expected, Type::username) &&
            request->sessionId == find(expected, Type::sessionId) &&
            request->clientAddress == find(expected, Type::clientAddress).value_or(""));
    require(request->reply.has_value() == expected.contains(Type::reply));
    require(!request->reply || request->reply->text() == expected.at(Type::reply));

    const bool asks = bytes.size() % 2 == 0;
    const Type state = asks ? Type::challenge : Type::authenticated;
    server.answer(*request, state, bytes);
    const int waiting = acceptable ? first.get() : second.get();
    const auto requireType = [waiting](Type type) {
        require(auth::readType(waiting) == static_cast<std::uint8_t>(type));
    };
    requireType(Type::sessionId);
    require(auth::readText(waiting) == "id");
    requireType(state);
    require(!asks || auth::readText(waiting) == bytes);
    requireType(Type::end);
    require(!auth::readType(waiting));
}

void run(std::string_view input) {
    const std::string_view bytes = input.substr(0, auth::max_text);
    auth::Server server("id");
    require(server.open());
    serve(server, bytes, {{Type::username, "good"}, {Type::reply, "good"}});
    serve(server, bytes, {{Type::sessionId, "id"}});
}

} // namespace zandorin::fuzz
