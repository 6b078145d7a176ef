#pragma once

#include "platform/pam-client/protocol.h"

#include <cstring>
#include <string>

namespace zandorin::test {

/// A message of the authentication protocol as bytes, put together without the codec.
inline std::string bytes(auth::Message type) {
    return {static_cast<char>(type)};
}

/// The same with a text; `announced` stands in place of its length when given.
inline std::string bytes(auth::Message type, const std::string &text, std::int64_t announced = -1) {
    const auto length = static_cast<std::uint32_t>(
        announced < 0 ? static_cast<std::int64_t>(text.size()) : announced);
    std::string message = bytes(type) + std::string(sizeof length, '\0');
    std::memcpy(message.data() + 1, &length, sizeof length);
    return message + text;
}

} // namespace zandorin::test
