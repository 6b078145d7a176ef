#include "cgi/mime.h"

#include "cgi/decoder.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

namespace zandorin::cgi {

namespace {

// In the order of gcgi_mime_type and gcgi_encoding, which count from 1.
constexpr std::string_view mime_types[] = {"text",        "image",     "audio",  "video",
                                           "application", "multipart", "message"};
constexpr std::string_view encodings[] = {"7bit", "8bit", "binary", "quoted-printable", "base64"};

template <std::size_t count>
int indexFromOne(const std::string_view (&names)[count], std::string_view name) {
    const auto *found = std::find_if(std::begin(names), std::end(names),
                                     [&](std::string_view n) { return equalsIgnoreCase(n, name); });
    return found == std::end(names) ? 0 : static_cast<int>(found - names) + 1;
}

/// Takes a parameter's value off the front of `rest`.
std::string takeParameterValue(std::string_view &rest) {
    rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
    if (!rest.starts_with('"')) {
        const std::string_view bare = rest.substr(0, rest.find(';'));
        rest.remove_prefix(bare.size());
        return std::string(trim(bare));
    }
    std::string value;
    std::size_t i = 1;
    for (; i < rest.size() && rest[i] != '"'; ++i) {
        const std::string_view escape = rest.substr(i, 2);
        if (escape == "\\\"" || escape == "\\\\")
            ++i;
        value += rest[i];
    }
    rest.remove_prefix(std::min(i + 1, rest.size()));
    return value;
}

constexpr std::array<std::int16_t, 256> makeBase64Values() {
    constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::array<std::int16_t, 256> values{};
    values.fill(-1);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        values[static_cast<unsigned char>(alphabet[i])] = static_cast<std::int16_t>(i);
    return values;
}

std::string decodeBase64(std::string_view text) {
    static constexpr auto values = makeBase64Values();
    std::string decoded;
    decoded.reserve(text.size() / 4 * 3);
    unsigned bits = 0;
    int count = 0; // of the low bits not yet written
    for (const char c : text.substr(0, text.find('='))) {
        const int value = values[static_cast<unsigned char>(c)];
        if (value < 0)
            continue;
        bits = (bits << 6) | static_cast<unsigned>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            decoded += static_cast<char>((bits >> count) & 0xff);
        }
    }
    return decoded;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    const char upper = static_cast<char>(c & ~0x20);
    return upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : -1;
}

std::string decodeQuotedPrintable(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string_view rest = text.substr(i + 1);
        if (text[i] != '=') {
            decoded += text[i];
        } else if (rest.empty() || rest.starts_with('\n')) {
            i += 1; // a soft line break
        } else if (rest.starts_with("\r\n")) {
            i += 2;
        } else if (rest.size() >= 2 && hexDigit(rest[0]) >= 0 && hexDigit(rest[1]) >= 0) {
            decoded += static_cast<char>(16 * hexDigit(rest[0]) + hexDigit(rest[1]));
            i += 2;
        } else {
            decoded += '=';
        }
    }
    return decoded;
}

} // namespace

std::string_view headerToken(std::string_view value) {
    return trim(value.substr(0, value.find(';')));
}

std::optional<std::string> headerParameter(std::string_view value, std::string_view name) {
    std::string_view rest = value;
    for (;;) {
        const auto semicolon = rest.find(';');
        if (semicolon == std::string_view::npos)
            return std::nullopt;
        rest.remove_prefix(semicolon + 1);
        const std::string_view found = rest.substr(0, rest.find_first_of(";="));
        rest.remove_prefix(found.size());
        if (!rest.starts_with('='))
            continue;
        rest.remove_prefix(1);
        std::string parameter = takeParameterValue(rest);
        if (equalsIgnoreCase(trim(found), name))
            return parameter;
    }
}

int mimeType(std::string_view token) {
    return indexFromOne(mime_types, trim(token.substr(0, token.find('/'))));
}

std::string mimeSubtype(std::string_view token) {
    const auto slash = token.find('/');
    return slash == std::string_view::npos ? "" : std::string(trim(token.substr(slash + 1)));
}

int transferEncoding(std::string_view token) {
    return indexFromOne(encodings, token);
}

std::string decodeTransfer(int encoding, std::string body) {
    switch (encoding) {
    case GCGI_ENCODING_QUOTED_PRINTABLE:
        return decodeQuotedPrintable(body);
    case GCGI_ENCODING_BASE64:
        return decodeBase64(body);
    default:
        return body;
    }
}

} // namespace zandorin::cgi
