#include "platform/libzandorin/config_text.h"

#include "util/strings.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace zandorin::platform {

namespace {

constexpr int max_segments = 64;

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool isSegment(std::string_view segment) {
    return !segment.empty() && isLetter(segment.front()) &&
           std::all_of(segment.begin(), segment.end(),
                       [](char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '-'; });
}

bool isAscii(std::string_view text) {
    return std::none_of(text.begin(), text.end(),
                        [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
}

} // namespace

std::string_view takeSegment(std::string_view &key) {
    const auto dot = key.find('.');
    const std::string_view segment = key.substr(0, dot);
    key.remove_prefix(dot == std::string_view::npos ? key.size() : dot + 1);
    return segment;
}

bool isConfigKey(std::string_view key) {
    if (key.empty() || key.back() == '.' || takeSegment(key) != "config")
        return false;
    for (int segments = 1; !key.empty(); ++segments)
        if (segments == max_segments || !isSegment(takeSegment(key)))
            return false;
    return true;
}

bool isTrue(std::string_view value) {
    return value == "1" || equalsIgnoreCase(value, "on") || equalsIgnoreCase(value, "true") ||
           equalsIgnoreCase(value, "yes");
}

std::string utf8FromLatin1(std::string_view text) {
    if (isAscii(text))
        return std::string(text);
    std::string out;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            out += c;
        } else {
            out += static_cast<char>(0xc0 | (byte >> 6));
            out += static_cast<char>(0x80 | (byte & 0x3f));
        }
    }
    return out;
}

std::string latin1FromUtf8(std::string_view text) {
    if (isAscii(text))
        return std::string(text);
    std::string out;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i++]);
        // The lead byte's high bits tell how many bytes follow.
        const std::uint32_t following = lead < 0xc0 ? 0 : lead < 0xe0 ? 1 : lead < 0xf0 ? 2 : 3;
        std::uint32_t character = following == 0 ? lead : lead & (0x3fU >> following);
        for (std::uint32_t n = 0; n < following && i < text.size(); ++n, ++i)
            character = character << 6 | (static_cast<unsigned char>(text[i]) & 0x3f);
        if (character <= 0xff) {
            out += static_cast<char>(character);
        } else {
            char reference[16];
            std::snprintf(reference, sizeof reference, "&#x%lx;",
                          static_cast<unsigned long>(character));
            out += reference;
        }
    }
    return out;
}

} // namespace zandorin::platform
