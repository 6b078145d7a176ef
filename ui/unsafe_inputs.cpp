#include "ui/unsafe_inputs.h"

#include "ui/inputs.h"
#include "ui/markup.h"
#include "util/escape.h"
#include "util/log.h"
#include "util/strings.h"

#include <string_view>

namespace zandorin::ui {

namespace {

constexpr std::size_t shown_length = 64;

std::string shortened(std::string_view value) {
    if (value.empty())
        return "<i>(Currently empty)</i>";
    if (value.size() <= shown_length)
        return encodeSafe(value);
    return encodeSafe(value.substr(0, shown_length)) + "...";
}

std::string layOut(const UnsafeInput &input, std::string_view tableAttributes,
                   const std::string &newValue) {
    std::string html =
        concat({"<table border=\"0\" cellpadding=\"0\" cellspacing=\"0\"", tableAttributes,
                "><tr><td><div id=\"", escapeXmlAttribute(input.name), ".current\" title=\"",
                encodeSafe(input.current), "\"><b>", shortened(input.current),
                "</b></div></td></tr><tr><td>"});
    if (input.offerDelete)
        append(html,
               {checkInput(input.name + ".delete", false), "Clear this field.</td></tr><tr><td>"});
    append(html, {newValue, "</td></tr></table>"});
    return html;
}

} // namespace

std::string unsafeTextInput(const UnsafeInput &input) {
    ZANDORIN_TRACE();
    return layOut(input, "",
                  textInput({.name = input.name,
                             .value = input.submitted,
                             .maxlength = input.maxlength,
                             .allowAutocomplete = !input.secret,
                             .unsafe = true}));
}

std::string unsafeTextAreaInput(const UnsafeInput &input, int rows, int cols) {
    ZANDORIN_TRACE();
    // The doubled percent sign is what this table has always been written with.
    return layOut(input, " width=\"100%%\"",
                  textAreaInput(input.name, input.submitted, rows, cols));
}

} // namespace zandorin::ui
