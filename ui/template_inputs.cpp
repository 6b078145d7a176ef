#include "ui/template_functions.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "ui/form_values.h"
#include "ui/inputs.h"
#include "ui/markup.h"
#include "ui/unsafe_inputs.h"
#include "util/escape.h"
#include "util/log.h"
#include "util/strings.h"

#include <climits>
#include <optional>

namespace zandorin::ui {

namespace {

std::string elementName(const std::string &argument) {
    return std::string(trim(argument));
}

/// The numeric argument at `index`; 0 when it is not given, overflows or is below 1.
int number(const Arguments &arguments, std::size_t index) {
    if (index >= arguments.size())
        return 0;
    const std::int64_t value = leadingNumber(arguments[index]);
    return value < 1 || value > INT_MAX ? 0 : static_cast<int>(value);
}

/// The word at `index` as a switch; none, logged, for any other word.
std::optional<bool> word(const Arguments &arguments, std::size_t index, const char *on,
                         const char *off, const char *complaint) {
    const std::string &given = arguments[index];
    if (equalsIgnoreCase(given, on))
        return true;
    if (equalsIgnoreCase(given, off))
        return false;
    logRecord(Priority::error, complaint, given.c_str());
    return std::nullopt;
}

const FormElem *findElement(Engine &engine, const std::string &name) {
    const auto found = engine.elements().find(name);
    return found == engine.elements().end() ? nullptr : &found->second;
}

void report(Engine &engine, const std::string &message) {
    if (Cgi *cgi = engine.requireCgi())
        cgi->addError(message);
}

std::string typedInput(Engine &engine, const std::string &name, const std::string &type,
                       int maxlength) {
    // A password input only tells whether one is stored; what was typed is never shown again.
    const std::string value =
        type == "password" ? engine.config().getElement(name) : shownValue(engine, name, maxlength);
    return textInput({.name = name, .value = value, .type = type, .maxlength = maxlength});
}

UnsafeInput unsafeInput(Engine &engine, const Arguments &arguments, int maxlength) {
    UnsafeInput input{.name = elementName(arguments[0]), .maxlength = maxlength};
    input.current = storedValue(engine, input.name);
    if (showsSubmission(engine))
        input.submitted = shownValue(engine, input.name, maxlength);
    if (arguments.size() < 3)
        return input;
    const std::string given(trim(arguments[2]));
    if (equalsIgnoreCase(given, "nodelete"))
        input.offerDelete = false;
    else if (!equalsIgnoreCase(given, "delete"))
        report(engine, "Invalid argument for getUnsafeTextInput() checkbox: " + encodeSafe(given));
    return input;
}

std::vector<Option> plainOptions(const Arguments &arguments) {
    return {arguments.begin() + 1, arguments.end()};
}

std::string radioButtons(Engine &engine, const std::string &name,
                         const std::vector<Option> &options) {
    const std::string buttons = radioInput(name, options, shownValue(engine, name));
    return buttons.empty() ? "" : buttons + "<br/>";
}

} // namespace

std::string addElement(Engine &engine, const Arguments &arguments) {
    const std::size_t count = arguments.size();
    if (count < 2 || count > 5) {
        report(engine, "addElement() takes 2 - 5 params, got: " + std::to_string(count));
        return "";
    }
    bool autoSave = true;
    if (count >= 4)
        autoSave =
            word(arguments, 3, "save", "dontsave", "addElement() bad autoSave: %s").value_or(true);
    // Not saved implies not deleted, unless said otherwise.
    bool autoDelete = autoSave;
    if (count == 5)
        autoDelete = word(arguments, 4, "delete", "dontdelete", "addElement() bad autoDelete: %s")
                         .value_or(autoSave);
    engine.addElement(elementName(arguments[0]),
                      FormElem(arguments[1], count >= 3 ? arguments[2] : "", autoSave, autoDelete));
    return "";
}

std::string getElemValue(Engine &engine, const Arguments &arguments) {
    if (arguments.size() != 1) {
        report(engine, "getElemValue() takes 1 param");
        return "params: " + std::to_string(arguments.size()) + "<br>\n";
    }
    const std::string name = elementName(arguments[0]);
    if (findElement(engine, name) == nullptr) {
        report(engine, "getElemValue() no such element: " + encodeSafe(name));
        return "";
    }
    return encodeSafe(storedValue(engine, name));
}

std::string getElemLabel(Engine &engine, const Arguments &arguments) {
    if (arguments.size() != 1) {
        logRecord(Priority::error, "getElemValue() takes '%u' parameter",
                  static_cast<unsigned>(arguments.size()));
        report(engine, "getElemValue() takes 1 param");
        return "";
    }
    const std::string name = elementName(arguments[0]);
    if (const FormElem *element = findElement(engine, name))
        return element->label;
    logRecord(Priority::error, "No such label for '%s'", name.c_str());
    report(engine, "getElemLabel() no such element: " + encodeSafe(name));
    return "";
}

std::string getTextInput(Engine &engine, const Arguments &arguments) {
    return typedInput(engine, elementName(arguments[0]), "text", number(arguments, 1));
}

std::string getUnsafeTextInput(Engine &engine, const Arguments &arguments) {
    return unsafeTextInput(unsafeInput(engine, arguments, number(arguments, 1)));
}

std::string getTextAreaInput(Engine &engine, const Arguments &arguments) {
    const std::string name = elementName(arguments[0]);
    return textAreaInput(name, shownValue(engine, name), number(arguments, 1),
                         number(arguments, 2));
}

std::string getUnsafeTextAreaInput(Engine &engine, const Arguments &arguments) {
    return unsafeTextAreaInput(unsafeInput(engine, arguments, 0), number(arguments, 1));
}

std::string getPassInput(Engine &engine, const Arguments &arguments) {
    return typedInput(engine, elementName(arguments[0]), "password", number(arguments, 1));
}

std::string getConfirmInput(Engine &engine, const Arguments &arguments) {
    // The confirmation has no key of its own: it shows whether the password is stored.
    return textInput({.name = elementName(arguments[1]),
                      .value = engine.config().getElement(elementName(arguments[0])),
                      .type = "password",
                      .maxlength = number(arguments, 2)});
}

std::string getCheckInput(Engine &engine, const Arguments &arguments) {
    const std::string name = elementName(arguments[0]);
    return checkInput(name, shownChecked(engine, name));
}

std::string getMenuInput(Engine &engine, const Arguments &arguments) {
    const std::string name = elementName(arguments[0]);
    return menuInput(name, plainOptions(arguments), shownValue(engine, name));
}

std::string getRadioInput(Engine &engine, const Arguments &arguments) {
    return radioButtons(engine, elementName(arguments[0]), plainOptions(arguments));
}

std::string getRadioInputLabels(Engine &engine, const Arguments &arguments) {
    // All values come first, then all labels; a value left over is its own label.
    const std::size_t count = arguments.size() / 2;
    const std::size_t labels = arguments.size() - 1 - count;
    std::vector<Option> options;
    for (std::size_t i = 1; i <= count; ++i)
        options.emplace_back(arguments[i], i <= labels ? arguments[count + i] : arguments[i]);
    return radioButtons(engine, elementName(arguments[0]), options);
}

std::string getButtonInput(Engine &, const Arguments &) {
    return getApplyButton();
}

std::string getFileInput(Engine &, const Arguments &arguments) {
    return "<input type=\"file\"" + attribute("name", elementName(arguments[0])) +
           " size=\"25\" class=\"formfield\">";
}

} // namespace zandorin::ui
