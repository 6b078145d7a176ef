#include "config-tool/output.h"

#include "util/json.h"

#include <array>
#include <cstdlib>
#include <string_view>

namespace zandorin::config_tool {

namespace {

/// The character of a reference as encodeSafe writes it, "" for another.
std::string resolved(std::string_view name) {
    constexpr std::array<std::pair<std::string_view, const char *>, 5> named = {
        {{"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "'"}}};
    for (const auto &[word, character] : named)
        if (name == word)
            return character;
    if (!name.starts_with("#"))
        return "";
    const bool isHex = name.starts_with("#x");
    const std::string digits(name.substr(isHex ? 2 : 1));
    const long code = std::strtol(digits.c_str(), nullptr, isHex ? 16 : 10);
    return code > 0 && code < 256 ? std::string(1, static_cast<char>(code)) : "";
}

} // namespace

std::string plainText(const std::string &markup) {
    std::string text;
    for (std::size_t at = 0; at < markup.size(); ++at) {
        const char end = markup[at] == '<' ? '>' : markup[at] == '&' ? ';' : '\0';
        const std::size_t stop = end == '\0' ? std::string::npos : markup.find(end, at);
        if (stop == std::string::npos) {
            text += markup[at];
            continue;
        }
        if (end == ';')
            text += resolved(std::string_view(markup).substr(at + 1, stop - at - 1));
        at = stop;
    }
    return text;
}

std::string jsonObject(const std::vector<std::pair<std::string, std::string>> &members) {
    std::string json;
    for (const auto &[name, text] : members)
        json += (json.empty() ? "{" : ",") + jsonString(name) + ":" + jsonString(text);
    return json.empty() ? "{}" : json + "}";
}

} // namespace zandorin::config_tool
