#include "util/strings.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace zandorin {

namespace {

constexpr std::string_view white_space = " \t\n\v\f\r";

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

std::string_view trim(std::string_view text) {
    const auto first = text.find_first_not_of(white_space);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(white_space) - first + 1);
}

bool equalsIgnoreCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && startsWithIgnoreCase(a, b);
}

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), lower);
    return text;
}

bool startsWithIgnoreCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

std::size_t findIgnoringCase(std::string_view text, std::string_view words) {
    const auto *const found = std::search(text.begin(), text.end(), words.begin(), words.end(),
                                          [](char x, char y) { return lower(x) == lower(y); });
    return found == text.end() && !words.empty() ? std::string_view::npos
                                                 : static_cast<std::size_t>(found - text.begin());
}

bool hasControlCharacter(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 || byte == 0x7f;
    });
}

bool contains(const std::vector<std::string> &texts, std::string_view text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

void append(std::string &text, std::initializer_list<std::string_view> pieces) {
    std::size_t size = text.size();
    const std::size_t before = size;
    for (const std::string_view piece : pieces)
        size += piece.size();
    if (size > text.capacity())
        text.reserve(size);
    text.resize(size);
    char *next = text.data() + before;
    for (const std::string_view piece : pieces)
        next = std::copy(piece.begin(), piece.end(), next);
}

std::string concat(std::initializer_list<std::string_view> pieces) {
    std::string whole;
    append(whole, pieces);
    return whole;
}

std::string shellQuote(std::string_view text) {
    std::string word = "'";
    for (const char c : text) {
        if (c == '\'')
            word += "'\\'";
        word += c;
    }
    return word + "'";
}

std::string_view trailingDigits(std::string_view text) {
    return text.substr(text.find_last_not_of("0123456789") + 1);
}

std::int64_t leadingNumber(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    using Limits = std::numeric_limits<std::int64_t>;
    std::int64_t number = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), number).ec ==
        std::errc::result_out_of_range)
        return text.front() == '-' ? Limits::min() : Limits::max();
    return number;
}

std::optional<std::int64_t> parseWhole(std::string_view text) {
    std::int64_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (text.empty() || error != std::errc() || stop != end)
        return std::nullopt;
    return number;
}

} // namespace zandorin
