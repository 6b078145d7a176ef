#include "ui/setting_input.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "ui/inputs.h"
#include "ui/markup.h"
#include "ui/unsafe_inputs.h"
#include "util/escape.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin::ui {

namespace {

using settings::Input;
using settings::Value;

constexpr int area_rows = 5;
/// Of a field that several places share.
constexpr const char *mixed_text = "(different)";
constexpr int area_cols = 60;

std::string passwordInput(const Value &value) {
    return textInput({.name = value.name,
                      .value = value.stored,
                      .type = "password",
                      .maxlength = value.field->maxlength,
                      .allowAutocomplete = false});
}

UnsafeInput unsafeInput(const Value &value) {
    return {.name = value.name,
            .current = value.stored,
            .submitted = value.submitted ? value.text : "",
            .maxlength = value.field->maxlength,
            .secret = value.field->input == Input::unsafeSecret};
}

std::string labelOf(const Option &option) {
    return option.offered ? option.label : option.label + " (not present)";
}

/// What is stored and no choice stays offered: another tool's word, or a device that is gone.
std::string choiceInput(const Value &value, decltype(menuInput) &markupOf) {
    std::vector<Option> options = value.options;
    if (value.isMixed())
        options.insert(options.begin(), {"", mixed_text});
    const auto isChosen = [&](const Option &option) { return option.value == value.text; };
    if (!value.text.empty() && std::none_of(options.begin(), options.end(), isChosen))
        options.emplace_back(value.text, value.field->options == nullptr
                                             ? value.text
                                             : value.text + " (not present)");
    return markupOf(value.name, options, value.text, "");
}

std::string boxes(const Value &value) {
    std::string html;
    for (const Option &option : value.options)
        html +=
            (html.empty() ? "" : "<br>") +
            labelledBox(boxName(value, option), option.fixed || contains(value.list, option.value),
                        labelOf(option), option.title, option.fixed);
    return html;
}

/// The boxes' names end with the numbers of the ports.
std::string portBoxes(const Value &value) {
    std::vector<PortChoice> ports;
    std::string prefix;
    std::string gone;
    for (const Option &option : value.options) {
        if (!option.offered) {
            gone += labelledBox(boxName(value, option), contains(value.list, option.value),
                                labelOf(option));
            continue;
        }
        const std::string name = boxName(value, option);
        const auto digits = trailingDigits(name);
        prefix = name.substr(0, name.size() - digits.size());
        ports.push_back({.number = static_cast<unsigned>(leadingNumber(digits)),
                         .label = option.label,
                         .checked = contains(value.list, option.value)});
    }
    return (ports.empty() ? "" : getPortCheckboxes(prefix, ports)) + gone;
}

std::string textInputs(Engine &engine, const Value &value) {
    std::string html;
    for (std::size_t number = 1; number <= value.storedList.size(); ++number) {
        UnsafeInput input = {.name = textName(value, number),
                             .current = value.storedList[number - 1],
                             .maxlength = value.field->maxlength};
        if (value.submitted)
            input.submitted = engine.cgi()->getVarString(input.name, bufferOf(*value.field)).raw;
        html += unsafeTextInput(input);
    }
    return html + textInput({.name = value.posted,
                             .value = value.text,
                             .maxlength = value.field->maxlength,
                             .unsafe = true});
}

std::string bareInput(Engine &engine, const Value &value) {
    const settings::Field &field = *value.field;
    switch (field.input) {
    case Input::text:
        return textInput({.name = value.name,
                          .value = value.text,
                          .maxlength = field.maxlength,
                          .unsafe = std::string_view(field.type.name()).starts_with("unsafe_"),
                          .placeholder = value.isMixed() ? mixed_text : "",
                          .suggestions = value.options});
    case Input::password:
    case Input::confirmation:
        return passwordInput(value);
    case Input::textArea:
    case Input::lines:
        return textAreaInput(value.name, value.text, area_rows, area_cols);
    case Input::unsafeText:
    case Input::unsafeSecret:
        return unsafeTextInput(unsafeInput(value));
    case Input::unsafeTextArea:
        return unsafeTextAreaInput(unsafeInput(value), area_rows, area_cols);
    case Input::check:
        if (value.isMixed())
            return menuInput(value.name, {{"", mixed_text}, {"on", "On"}, {"off", "Off"}},
                             value.text);
        return checkInput(value.name, value.submitted ? !value.text.empty()
                                                      : engine.config().getBoolean(value.key));
    case Input::menu:
        return choiceInput(value, menuInput);
    case Input::radio:
        return choiceInput(value, radioInput);
    case Input::flags:
    case Input::set:
        return field.grid ? portBoxes(value) : boxes(value);
    case Input::texts:
        return textInputs(engine, value);
    case Input::file:
        return "<input type=\"file\"" + attribute("name", value.name) + ">";
    case Input::note:
        // Without a `status` what is stored.
        return field.status != nullptr || *field.key == '\0'
                   ? ""
                   : encodeSafe(engine.config().getElement(value.key));
    }
    return "";
}

} // namespace

std::string textName(const Value &value, std::size_t number) {
    return value.name + "." + value.field->word + std::to_string(number);
}

std::string labelledBox(const std::string &name, bool checked, const std::string &text,
                        const std::string &title, bool fixed) {
    return "<label>" + checkInput(name, checked, fixed) + "<span" +
           optionalAttribute("title", title) + ">" + escapeXmlText(text) + "</span></label>";
}

std::string settingInput(Engine &engine, const Value &value) {
    std::string status;
    if (value.field->status != nullptr)
        status = value.field->status(engine.config(), value.key);
    return (status.empty() ? "" : "<b>" + encodeSafe(status) + "</b><br/>") +
           bareInput(engine, value);
}

} // namespace zandorin::ui
