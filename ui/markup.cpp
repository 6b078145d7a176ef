#include "ui/markup.h"

#include "ui/escape.h"
#include "util/strings.h"

namespace zandorin::ui {

namespace {

std::string quoted(std::string_view name, std::string_view value) {
    return concat({" ", name, "=\"", value, "\""});
}

} // namespace

std::string attribute(std::string_view name, std::string_view value) {
    return quoted(name, escapeXmlAttribute(value));
}

std::string optionalAttribute(std::string_view name, std::string_view value) {
    return value.empty() ? "" : attribute(name, value);
}

std::string scriptAttribute(std::string_view name, std::string_view script) {
    return script.empty() ? "" : quoted(name, script);
}

} // namespace zandorin::ui
