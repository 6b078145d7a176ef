#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <sys/un.h>

namespace zandorin::auth {

/// Messages between a web session and its authentication helper, over a local stream socket: one
/// byte of type; types that carry text go on with a length of 4 bytes in host byte order and that
/// many bytes. A request is a row of messages ended by `end`, and so is an answer.
/// docs/auth-protocol.md tells the conversation.
enum class Message : std::uint8_t {
    username = 0,       ///< to the helper, text: first message of a new session
    sessionId = 1,      ///< both ways, text
    challenge = 3,      ///< from the helper, text: a prompt to be answered
    reply = 4,          ///< to the helper, text: the password, or the answer to a challenge
    authenticated = 7,  ///< from the helper
    rejected = 8,       ///< from the helper
    helperError = 9,    ///< from the helper
    clientAddress = 10, ///< to the helper, text
    end = 127,          ///< both ways
};

/// The longest text that is taken, in bytes; one announced longer ends the conversation.
constexpr std::size_t max_text = std::size_t{64} * 1024;

/// Where the helper with this process id listens, on this machine: /var/run/auth-<pid>.
std::string socketPath(int pid);
/// The same as a socket address; false when the path is too long for one.
bool fillAddress(int pid, sockaddr_un &address);

/// The file of a session, on this machine: /var/run/.sessions/session-<id>. The helper ends when
/// it has gone. `id` is not judged here.
std::string sessionFilePath(std::string_view id);

/// Writes the type alone. False when it was not taken whole before the socket's time-out.
bool sendMessage(int socket, Message type);
/// Writes the type and a text. False as above, or when the text is longer than max_text.
bool sendMessage(int socket, Message type, std::string_view text);

/// Reads one byte of type; none at the end of the stream, on an error or a time-out.
std::optional<std::uint8_t> readType(int socket);
/// Reads a length and that many bytes; none when the length is over max_text or not all of it
/// came. Nothing is allocated by announcement beyond max_text.
std::optional<std::string> readText(int socket);

/// Makes every read and write on the socket fail after `seconds` without progress.
bool setTimeout(int socket, int seconds);

} // namespace zandorin::auth
