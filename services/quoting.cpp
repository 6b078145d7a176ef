#include "services/quoting.h"

#include "util/strings.h"

namespace zandorin::services {

namespace {

bool isControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

} // namespace

std::string conserverWord(std::string_view text) {
    std::string word;
    for (const char c : text) {
        if (isControl(c))
            continue;
        if (!isAlphanumeric(c))
            word += '\\';
        word += c;
    }
    return word;
}

std::string ser2netText(std::string_view text) {
    std::string quoted = "\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (isControl(c))
            continue;
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
        if (c == '*' && i + 1 < text.size() && (text[i + 1] == '(' || text[i + 1] == '{')) {
            quoted += text[++i];
            quoted += '*';
        }
    }
    return quoted + '"';
}

std::string msmtpText(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text)
        if (!isControl(c))
            quoted += c;
    return quoted + '"';
}

std::string chronyWord(std::string_view text) {
    std::string word;
    for (const char c : text)
        if (isAlphanumeric(c) || c == '.' || c == ':' || c == '-' || c == '_')
            word += c;
    return word;
}

} // namespace zandorin::services
