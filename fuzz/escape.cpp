// Encoders: no bare markup character comes out, what comes out stands for what went in, and it is
// the same exactly when nothing had to be escaped.

#include "fuzz/support/support.h"

#include "tests/support/log_capture.h"
#include "util/escape.h"

#include <map>

namespace zandorin::fuzz {

/// The text that references of HTML stand for; every "&" must begin one.
std::string resolve(std::string_view text) {
    static const std::map<std::string_view, char> named = {
        {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
    std::string resolved;
    for (std::string_view piece; !text.empty(); text.remove_prefix(piece.size())) {
        piece = text.substr(0, text.front() == '&' ? text.find(';') + 1 : 1);
        require(!piece.empty());
        if (piece.front() != '&') {
            resolved += piece;
        } else if (named.contains(piece)) {
            resolved += named.at(piece);
        } else {
            require(piece.starts_with("&#x") && piece.size() == 6);
            resolved += static_cast<char>(std::stoi(std::string(piece.substr(3, 2)), nullptr, 16));
        }
    }
    return resolved;
}

std::string resolveUri(const std::string &text) {
    std::string resolved;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscape = text[i] == '%';
        require(!isEscape || text.size() - i >= 4);
        const int byte = isEscape ? std::stoi(text.substr(i + 1, text[i + 3] == ';' ? 2 : 3)) : 0;
        resolved += isEscape ? static_cast<char>(byte) : text[i];
        i += isEscape ? 3 : 0;
    }
    return resolved;
}

const std::string alphanumeric = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

void requireEncodes(const std::string &encoded, const std::string &resolved, std::string_view text,
                    bool isPlain, std::string_view bare) {
    require(resolved == text && encoded.find_first_of(bare) == encoded.npos);
    require((encoded == text) == isPlain);
}

/// Nobody knows whether a text is a password: the log has none of them.
void checkAllocated(const std::string &text) {
    const test::LogCapture log;
    char *safe = nullptr;
    char *uri = nullptr;
    require(encode_safe_alloc(("secret" + text).c_str(), &safe) == 0 &&
            encode_uri_alloc(("secret" + text).c_str(), &uri) == 0);
    require(safe == "secret" + encodeSafe(text) && uri == "secret" + encodeUri(text));
    for (char **each : {&safe, &uri}) {
        encode_safe_free(each);
        require(*each == nullptr);
    }
    for (const std::string &record : log.records())
        require(record.find("secret") == record.npos);
}

void run(std::string_view input) {
    const auto hasOnly = [input](const std::string &kept) {
        return input.find_first_not_of(kept) == input.npos;
    };
    const auto requireMarkup = [input](const std::string &encoded, const std::string &bare) {
        const bool isPlain = input.find_first_of(bare + "&") == input.npos;
        requireEncodes(encoded, resolve(encoded), input, isPlain, bare);
    };
    requireMarkup(escapeHtmlString(input), "<>\"'/");
    requireMarkup(escapeXmlText(input), "<>");
    requireMarkup(escapeXmlAttribute(input), "<>\"'");
    const std::string safe = encodeSafe(input);
    requireEncodes(safe, resolve(safe), input, hasOnly(alphanumeric + " @:_=$+,-./"), "<>\"'");
    const std::string uri = encodeUri(input);
    requireEncodes(uri, resolveUri(uri), input, hasOnly(alphanumeric + "?@[#$]_!&'()*+,-./:;=~"),
                   " \"<>\\^`{|}\x7f\r\n");

    // The C functions write the beginning of the same encoding, terminated, and nothing beyond.
    const std::string text(input.substr(0, input.find('\0')));
    std::vector<char> buffer(input.size() % 50 + 1, '!');
    const std::size_t room = buffer.size();
    std::size_t length = 0;
    encode_safe(text.c_str(), buffer.data(), room, &length);
    require(buffer.data() == encodeSafe(text).substr(0, room - 1));
    require(length == encodeSafe(text).size());
    encode_uri(text.c_str(), buffer.data(), room, &length);
    require(buffer.data() == encodeUri(text).substr(0, room - 1));
    const std::string html = escapeHtmlString(text);
    require((escapeHtml(text.c_str(), buffer.data(), room) == 0) == (html.size() < room));
    require(buffer.data() == html.substr(0, room - 1));
    require((escapeAllHex(text.c_str(), buffer.data(), room) == 0) == (6 * text.size() < room));
    require(resolve(std::string_view(buffer.data()).substr(0, (room - 1) / 6 * 6)) ==
            text.substr(0, (room - 1) / 6));
    checkAllocated(text);
}

} // namespace zandorin::fuzz
