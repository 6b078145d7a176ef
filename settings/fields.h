#pragma once

#include "settings/page.h"

#include <cstdint>
#include <limits>

// Rows that many pages have.

namespace zandorin::settings {

/// The largest number that a 32-bit service can count.
inline constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();

constexpr Field textField(const char *label, const char *key, TypeName type, const char *help = "",
                          int maxlength = 0) {
    return {.label = label, .key = key, .type = type, .help = help, .maxlength = maxlength};
}
constexpr Field numberField(const char *label, const char *key, const char *help = "",
                            std::int32_t most = largest, int digits = 10) {
    return {.label = label,
            .key = key,
            .type = "numeric",
            .help = help,
            .maxlength = digits,
            .most = most};
}
/// Negative, too.
constexpr Field wholeField(const char *label, const char *key, const char *help) {
    return {.label = label,
            .key = key,
            .type = "integer",
            .help = help,
            .least = -largest,
            .most = largest};
}

/// A password that is typed in twice: its row, and the one that repeats it.
constexpr Field passwordField(const char *label, const char *key, const char *help = "") {
    return {.label = label, .key = key, .type = "password", .input = Input::password, .help = help};
}
constexpr Field confirmationField(const char *label, const char *key, const char *ofKey,
                                  const char *mismatch) {
    return {.label = label,
            .key = key,
            .input = Input::confirmation,
            .refusal = mismatch,
            .confirms = ofKey};
}

constexpr Field menuField(const char *label, const char *key, std::span<const Choice> choices,
                          const char *help = "") {
    return {.label = label, .key = key, .input = Input::menu, .choices = choices, .help = help};
}

/// In front of the choices of this appliance.
inline constexpr Choice no_choice[] = {{"", "- Select -"}};
/// A menu that is stored as it is offered, and of this appliance's choices begins with none.
constexpr Field selectField(const char *label, const char *key, std::span<const Choice> choices,
                            const char *help = "", OptionsOf options = nullptr) {
    return {.label = label,
            .key = key,
            .type = "printable",
            .input = Input::menu,
            .choices = choices,
            .options = options,
            .help = help};
}
constexpr Field selectField(const char *label, const char *key, OptionsOf options,
                            const char *help = "") {
    return selectField(label, key, no_choice, help, options);
}

constexpr Field boxField(const char *label, const char *key, const char *help = "") {
    return {.label = label, .key = key, .type = "boolean", .input = Input::check, .help = help};
}

/// A port of TCP, or by the type "port" of UDP; `standard` is the one that holds without.
constexpr Field portField(const char *label, const char *key, TypeName type, const char *help,
                          const char *standard) {
    constexpr int digits = 5;
    return {.label = label,
            .key = key,
            .type = type,
            .help = help,
            .maxlength = digits,
            .standard = standard};
}

/// The same row, needed `when` that is so.
constexpr Field needed(Field field, When when, const char *missing) {
    field.required = when;
    field.missing = missing;
    return field;
}

} // namespace zandorin::settings
