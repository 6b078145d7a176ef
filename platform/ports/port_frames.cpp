#include "platform/ports/port_frames.h"

namespace zandorin {

namespace {

constexpr std::size_t head_bytes = 3;

} // namespace

void appendFrame(std::string &stream, char type, std::string_view payload) {
    do {
        const std::string_view part = payload.substr(0, longest_frame);
        stream += type;
        stream += static_cast<char>(part.size() >> 8U);
        stream += static_cast<char>(part.size() & 0xffU);
        stream += part;
        payload.remove_prefix(part.size());
    } while (!payload.empty());
}

std::vector<std::string> linesOf(std::string_view payload, std::size_t most) {
    std::vector<std::string> lines;
    while (lines.size() + 1 < most) {
        const auto end = payload.find('\n');
        if (end == std::string_view::npos)
            break;
        lines.emplace_back(payload.substr(0, end));
        payload.remove_prefix(end + 1);
    }
    lines.emplace_back(payload);
    return lines;
}

std::optional<Frame> FrameReader::next() {
    if (isBroken_ || pending() < head_bytes)
        return std::nullopt;
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes_[used_ + i]); };
    const std::size_t length = std::size_t{byte(1)} << 8U | byte(2);
    isBroken_ = length > longest_frame;
    if (isBroken_ || pending() < head_bytes + length)
        return std::nullopt;
    Frame frame{.type = bytes_[used_], .payload = bytes_.substr(used_ + head_bytes, length)};
    used_ += head_bytes + length;
    if (used_ == bytes_.size() || used_ > longest_frame) {
        bytes_.erase(0, used_);
        used_ = 0;
    }
    return frame;
}

} // namespace zandorin
