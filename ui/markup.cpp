#include "ui/markup.h"

#include "util/escape.h"
#include "util/strings.h"

namespace zandorin::ui {

void appendAttribute(std::string &markup, std::string_view name, std::string_view value) {
    ((markup += ' ') += name) += "=\"";
    appendXmlAttribute(markup, value);
    markup += '"';
}

std::string attribute(std::string_view name, std::string_view value) {
    std::string markup;
    markup.reserve(name.size() + value.size() + std::string_view(" =\"\"").size());
    appendAttribute(markup, name, value);
    return markup;
}

std::string optionalAttribute(std::string_view name, std::string_view value) {
    return value.empty() ? "" : attribute(name, value);
}

std::string scriptAttribute(std::string_view name, std::string_view script) {
    return script.empty() ? "" : concat({" ", name, "=\"", script, "\""});
}

} // namespace zandorin::ui
