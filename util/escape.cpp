#include "util/escape.h"

#include "util/log.h"

#include <array>
#include <cstdlib>
#include <cstring>

namespace zandorin {

namespace {

/// What a byte becomes; length 0: it stands.
struct Replacement {
    char text[6] = {};
    unsigned char length = 0;

    constexpr void operator+=(char c) { text[length++] = c; }
    constexpr void operator+=(std::string_view more) {
        for (const char c : more)
            *this += c;
    }
    std::string_view view() const { return {text, length}; }
};

using Encoding = std::array<Replacement, 256>;

constexpr Replacement hexReference(unsigned byte) {
    constexpr std::string_view digits = "0123456789abcdef";
    Replacement reference;
    reference += "&#x";
    reference += digits[byte >> 4];
    reference += digits[byte & 15];
    reference += ';';
    return reference;
}

constexpr std::string_view named_entities[][2] = {
    {"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}, {"\"", "&quot;"}, {"'", "&apos;"}};

constexpr void setNamedEntities(Encoding &encoding) {
    for (const auto &[byte, entity] : named_entities) {
        Replacement &replacement = encoding[static_cast<unsigned char>(byte[0])];
        replacement = {};
        replacement += entity;
    }
}

/// Bytes inside one of the ranges, each given by its first and last byte.
template <std::size_t size> constexpr bool inRanges(const char (&ranges)[size], unsigned byte) {
    for (std::size_t i = 0; i + 1 < size; i += 2)
        if (byte >= static_cast<unsigned char>(ranges[i]) &&
            byte <= static_cast<unsigned char>(ranges[i + 1]))
            return true;
    return false;
}

constexpr Encoding makeSafe() {
    Encoding encoding;
    for (unsigned byte = 0; byte < 256; ++byte)
        if (!inRanges("09AZaz  @@::__==$$+/", byte))
            encoding[byte] = hexReference(byte);
    setNamedEntities(encoding);
    return encoding;
}

constexpr Encoding makeUri() {
    Encoding encoding;
    for (unsigned byte = 0; byte < 256; ++byte) {
        if (inRanges("az?[#$]]__!!&;==~~", byte))
            continue;
        Replacement &replacement = encoding[byte];
        replacement += '%';
        if (byte >= 100)
            replacement += static_cast<char>('0' + byte / 100);
        replacement += static_cast<char>('0' + byte / 10 % 10);
        replacement += static_cast<char>('0' + byte % 10);
        if (byte < 100)
            replacement += ';';
    }
    return encoding;
}

constexpr Encoding makeXmlAttribute() {
    Encoding encoding;
    setNamedEntities(encoding);
    return encoding;
}

constexpr Encoding makeXmlText() {
    Encoding encoding = makeXmlAttribute();
    encoding['"'] = {};
    encoding['\''] = {};
    return encoding;
}

constexpr Encoding makeHtml() {
    Encoding encoding = makeXmlAttribute();
    encoding['/'] += "&#x2F;";
    return encoding;
}

constexpr Encoding makeAllHex() {
    Encoding encoding;
    for (unsigned byte = 0; byte < 256; ++byte)
        encoding[byte] = hexReference(byte);
    return encoding;
}

constexpr Encoding safe_encoding = makeSafe();
constexpr Encoding uri_encoding = makeUri();
constexpr Encoding html_encoding = makeHtml();
constexpr Encoding xml_text_encoding = makeXmlText();
constexpr Encoding xml_attribute_encoding = makeXmlAttribute();
constexpr Encoding all_hex_encoding = makeAllHex();

/// Adds the encoded text.
void encodeTo(std::string &encoded, const Encoding &encoding, std::string_view text) {
    const char *run = text.data();
    const char *const end = run + text.size();
    for (const char *c = run; c != end; ++c) {
        const Replacement &replacement = encoding[static_cast<unsigned char>(*c)];
        if (replacement.length == 0)
            continue;
        if (run == text.data())
            encoded.reserve(encoded.size() + 2 * text.size());
        encoded.append(run, static_cast<std::size_t>(c - run));
        encoded += replacement.view();
        run = c + 1;
    }
    encoded.append(run, static_cast<std::size_t>(end - run));
}

std::string encode(const Encoding &encoding, std::string_view text) {
    std::string encoded;
    encodeTo(encoded, encoding, text);
    return encoded;
}

/// True when the whole of `text` fitted.
bool copyOut(std::string_view text, char *buffer, std::size_t size) {
    if (size == 0)
        return text.empty();
    buffer[text.copy(buffer, size - 1)] = '\0';
    return text.size() < size;
}

// The log cannot know whether a text is a password, so it shows none of them.
constexpr const char *hidden = "********";

int encodeInto(const Encoding &encoding, const char *input, char *buffer, std::size_t size,
               std::size_t *length) {
    const std::string encoded = encode(encoding, input);
    if (buffer != nullptr)
        copyOut(encoded, buffer, size);
    *length = encoded.size();
    return 0;
}

int encodeAlloc(const Encoding &encoding, const char *input, char **result) {
    const std::string encoded = encode(encoding, input);
    *result = static_cast<char *>(std::malloc(encoded.size() + 1));
    if (*result == nullptr) {
        logRecord(Priority::error, "Failed to allocate buffer for safe string.");
        return -1;
    }
    copyOut(encoded, *result, encoded.size() + 1);
    return 0;
}

} // namespace

std::string encodeSafe(std::string_view text) {
    return encode(safe_encoding, text);
}

std::string quoted(std::string_view text) {
    return "'" + encodeSafe(text) + "'";
}

std::string encodeUri(std::string_view text) {
    return encode(uri_encoding, text);
}

std::string escapeHtmlString(std::string_view text) {
    return encode(html_encoding, text);
}

std::string escapeXmlText(std::string_view text) {
    return encode(xml_text_encoding, text);
}

namespace {

/// How many bytes at the beginning of `text` are one character of UTF-8 above 0x7f; 0 for none.
/// Overlong forms, surrogates and what is above U+10FFFF are none.
std::size_t utf8Length(std::string_view text, std::uint32_t &character) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const std::size_t length = byte(0) < 0xc2   ? 0
                               : byte(0) < 0xe0 ? 2
                               : byte(0) < 0xf0 ? 3
                               : byte(0) < 0xf5 ? 4
                                                : 0;
    if (length == 0 || text.size() < length)
        return 0;
    character = byte(0) & (0xffU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xc0U) != 0x80)
            return 0;
        character = character << 6 | (byte(i) & 0x3fU);
    }
    const bool isOverlong = character < (length == 3 ? 0x800U : length == 4 ? 0x10000U : 0U);
    const bool isSurrogate = character >= 0xd800 && character < 0xe000;
    return isOverlong || isSurrogate || character > 0x10ffff ? 0 : length;
}

} // namespace

std::string escapeUtf8Text(std::string_view text) {
    std::string markup;
    markup.reserve(text.size());
    while (!text.empty()) {
        std::uint32_t character = 0;
        if (const std::size_t length = utf8Length(text, character)) {
            markup += "&#" + std::to_string(character) + ";";
            text.remove_prefix(length);
            continue;
        }
        // Up to what may begin the next one.
        std::size_t plain = 1;
        while (plain < text.size() && static_cast<unsigned char>(text[plain]) < 0xc2)
            ++plain;
        markup += escapeXmlText(text.substr(0, plain));
        text.remove_prefix(plain);
    }
    return markup;
}

std::string escapeXmlAttribute(std::string_view text) {
    return encode(xml_attribute_encoding, text);
}

void appendXmlAttribute(std::string &markup, std::string_view text) {
    encodeTo(markup, xml_attribute_encoding, text);
}

int encode_safe(const char *input, char *buffer, std::size_t size, std::size_t *length) {
    logRecord(Priority::debug, "encode_safe(%s, %p, %lu, %p)", hidden, static_cast<void *>(buffer),
              static_cast<unsigned long>(size), static_cast<void *>(length));
    return encodeInto(safe_encoding, input, buffer, size, length);
}

int encode_uri(const char *input, char *buffer, std::size_t size, std::size_t *length) {
    logRecord(Priority::debug, "encode_uri(%s, %p, %lu)", hidden, static_cast<void *>(buffer),
              static_cast<unsigned long>(size));
    return encodeInto(uri_encoding, input, buffer, size, length);
}

int encode_safe_alloc(const char *input, char **result) {
    logRecord(Priority::debug, "encode_safe_alloc(%s, %p)", hidden, static_cast<void *>(result));
    return encodeAlloc(safe_encoding, input, result);
}

int encode_uri_alloc(const char *input, char **result) {
    logRecord(Priority::debug, "encode_uri_alloc(%s, %p)", hidden, static_cast<void *>(result));
    return encodeAlloc(uri_encoding, input, result);
}

void encode_safe_free(char **buffer) {
    logRecord(Priority::debug, "encode_safe_free(%p)", static_cast<void *>(buffer));
    if (buffer == nullptr) {
        logRecord(Priority::fatal, "provided buffer was NULL.");
        return;
    }
    std::free(*buffer);
    *buffer = nullptr;
}

int escapeHtml(const char *input, char *output, std::size_t size) {
    return copyOut(encode(html_encoding, input), output, size) ? 0 : -1;
}

int escapeAllHex(const char *input, char *output, std::size_t size) {
    return copyOut(encode(all_hex_encoding, input), output, size) ? 0 : -1;
}

} // namespace zandorin
