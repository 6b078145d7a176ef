#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin {

// The frames of the port service's sockets: a type, one ASCII letter; the payload's length, two
// bytes, the high one first; the payload. A stream of bytes, since what a WebSocket carries reaches
// the service without the limits of its messages.

/// Bytes of a payload.
inline constexpr std::size_t longest_frame = 16384;

struct Frame {
    char type = '\0';
    std::string payload = "";
};

/// Adds a frame, or as many of the type as the payload needs; one for an empty payload.
void appendFrame(std::string &stream, char type, std::string_view payload);

/// The lines of a payload, at most `most`; the last has the rest.
std::vector<std::string> linesOf(std::string_view payload, std::size_t most);

/// Takes frames off what arrives.
class FrameReader {
  public:
    void add(std::string_view bytes) { bytes_ += bytes; }
    /// The next frame; none until there is a whole one, or when the stream is broken.
    std::optional<Frame> next();
    /// A frame was longer than any may be: nothing more can be read.
    bool isBroken() const { return isBroken_; }
    /// Bytes that wait.
    std::size_t pending() const { return bytes_.size() - used_; }

  private:
    std::string bytes_;
    std::size_t used_ = 0;
    bool isBroken_ = false;
};

} // namespace zandorin
