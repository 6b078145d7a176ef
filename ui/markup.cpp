#include "ui/markup.h"

namespace zandorin::ui {

namespace {

std::string_view entity(char c, bool quotes) {
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return quotes ? "&quot;" : "";
    case '\'':
        return quotes ? "&apos;" : "";
    default:
        return "";
    }
}

std::string escape(std::string_view text, bool quotes) {
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        const std::string_view replacement = entity(c, quotes);
        if (replacement.empty())
            result += c;
        else
            result += replacement;
    }
    return result;
}

std::string quoted(std::string_view name, std::string_view value) {
    std::string result = " ";
    result.append(name).append("=\"").append(value).append("\"");
    return result;
}

} // namespace

std::string escapeText(std::string_view text) {
    return escape(text, false);
}

std::string escapeAttribute(std::string_view text) {
    return escape(text, true);
}

std::string attribute(std::string_view name, std::string_view value) {
    return quoted(name, escapeAttribute(value));
}

std::string optionalAttribute(std::string_view name, std::string_view value) {
    return value.empty() ? "" : attribute(name, value);
}

std::string scriptAttribute(std::string_view name, std::string_view script) {
    return script.empty() ? "" : quoted(name, script);
}

} // namespace zandorin::ui
