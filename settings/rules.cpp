#include "settings/rules.h"

#include "settings/filled_in.h"
#include "util/escape.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin::settings {

namespace {

std::string italic(const char *label) {
    return std::string("<i>") + label + "</i>";
}

bool hasLimits(const Field &field) {
    return field.least != 0 || field.most != 0;
}

std::string limitsOf(const Field &field) {
    const bool isPassword = field.type == TypeName("password");
    const std::string unit = isPassword ? " characters" : "";
    const std::string verb = isPassword ? "have " : "be ";
    if (field.most == 0)
        return " must " + verb + "at least " + std::to_string(field.least) + unit;
    if (field.least == 0)
        return " may " + verb + "at most " + std::to_string(field.most) + unit;
    return " must " + verb + std::to_string(field.least) + " to " + std::to_string(field.most) +
           unit;
}

bool isWithin(const Field &field, const std::string &value) {
    const auto number = field.type == TypeName("password")
                            ? std::optional(static_cast<std::int64_t>(value.size()))
                            : parseWhole(value);
    return number && *number >= field.least && (field.most == 0 || *number <= field.most);
}

/// Of a menu only what it offers is taken, or what is stored already.
void checkChoice(const Value &value, Problems &problems) {
    const bool isMenu = value.field->input == Input::menu || value.field->input == Input::radio;
    if (!isMenu || value.text.empty() || value.text == value.stored)
        return;
    const auto isChosen = [&](const Option &option) { return option.value == value.text; };
    problems.require(std::any_of(value.options.begin(), value.options.end(), isChosen), value.name,
                     italic(value.field->label) + " must be one of the choices. The value '<i>" +
                         encodeSafe(value.text) + "</i>' is invalid.");
}

/// Of a password whether it was repeated.
void checkConfirmation(const Values &values, const Value &password, Problems &problems) {
    if (password.field->input != Input::password)
        return;
    for (const Value &value : values.all())
        if (value.field->input == Input::confirmation &&
            values.keyOf(value.field->confirms, value.suffix) == password.key)
            problems.require(value.text == password.text, value.name, value.field->refusal);
}

void checkRequired(const Values &values, const Value &value, Problems &problems) {
    const Field &field = *value.field;
    if (*field.missing == '\0' || !values.holds(field.required, value.suffix) ||
        values.isGiven(value.key))
        return;
    problems.add(value.name, filledIn(field.missing, encodeSafe(values.after(values.keyOf(
                                                         field.required.key, value.suffix)))));
}

} // namespace

void checkLimits(const Field &field, const std::string &name, const std::string &value,
                 Problems &problems) {
    const bool isRefused = (hasLimits(field) && !isWithin(field, value)) ||
                           (field.accepts != nullptr && !field.accepts(value));
    if (!isRefused)
        return;
    problems.add(name, *field.refusal != '\0' ? filledIn(field.refusal, encodeSafe(value))
                       : hasLimits(field)     ? italic(field.label) + limitsOf(field) + "."
                                              : italic(field.label) + " is invalid.");
}

void checkRules(const Values &values, Rule rule, Problems &problems) {
    for (const Value &value : values.all()) {
        const Field &field = *value.field;
        checkChoice(value, problems);
        checkConfirmation(values, value, problems);
        if (field.input != Input::confirmation && !value.text.empty() &&
            value.text != password_placeholder)
            checkLimits(field, value.name, value.text, problems);
        checkRequired(values, value, problems);
    }
    if (rule != nullptr)
        rule(values, problems);
}

} // namespace zandorin::settings
