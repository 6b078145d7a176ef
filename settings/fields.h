#pragma once

#include "settings/page.h"

// Rows that many pages have.

namespace zandorin::settings {

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

constexpr Field boxField(const char *label, const char *key, const char *help) {
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
