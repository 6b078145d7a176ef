#include "cgi/url_encoded.h"

#include <algorithm>

namespace zandorin::cgi {

namespace {

int digitValue(std::string_view text, std::size_t position) {
    const unsigned char c = position < text.size() ? static_cast<unsigned char>(text[position]) : 0;
    return c < 'A' ? c - 48 : c - 55;
}

} // namespace

std::string decodeUrlText(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%') {
            const int value = 16 * digitValue(text, i + 1) + digitValue(text, i + 2);
            decoded += static_cast<char>(value & 0xff);
            i += 2;
        } else {
            decoded += text[i] == '+' ? ' ' : text[i];
        }
    }
    return decoded;
}

void decodeUrlEncoded(std::string_view text, const FieldSink &store) {
    for (;;) {
        const auto equals = text.find('=');
        if (equals == std::string_view::npos)
            return;
        const std::string_view name = text.substr(0, equals);
        text.remove_prefix(equals + 1);
        const std::string_view value = text.substr(0, text.find('&'));
        text.remove_prefix(std::min(value.size() + 1, text.size()));
        if (value.empty())
            continue;
        Field field;
        field.value = decodeUrlText(value);
        field.value += '\0';
        store(decodeUrlText(name), std::move(field));
    }
}

} // namespace zandorin::cgi
