#include "util/json.h"

namespace zandorin {

std::string jsonString(std::string_view text) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string json;
    json.reserve(text.size() + 2);
    json += '"';
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7f && c != '"' && c != '\\' && c != '<') {
            json += c;
            continue;
        }
        json += "\\u00";
        json += digits[byte >> 4U];
        json += digits[byte & 0xfU];
    }
    json += '"';
    return json;
}

} // namespace zandorin
