#pragma once

#include "settings/page.h"

#include <cstdint>
#include <limits>

// The usual shapes of fields, for tables that have many of them.

namespace zandorin::settings::shapes {

/// The largest number that a 32-bit service can count.
inline constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();
/// In front of the choices of this appliance.
inline constexpr Choice no_choice[] = {{"", "- Select -"}};

constexpr Field text(const char *key, const char *label, TypeName type, const char *help = "",
                     int maxlength = 0) {
    return {.label = label, .key = key, .type = type, .help = help, .maxlength = maxlength};
}
constexpr Field number(const char *key, const char *label, const char *help = "",
                       std::int32_t most = largest, int digits = 10) {
    return {.label = label,
            .key = key,
            .type = "numeric",
            .help = help,
            .maxlength = digits,
            .most = most};
}
/// Negative, too.
constexpr Field whole(const char *key, const char *label, const char *help) {
    return {.label = label,
            .key = key,
            .type = "integer",
            .help = help,
            .least = -largest,
            .most = largest};
}
constexpr Field box(const char *key, const char *label, const char *help = "") {
    return {.label = label, .key = key, .type = "boolean", .input = Input::check, .help = help};
}
constexpr Field menu(const char *key, const char *label, std::span<const Choice> choices,
                     const char *help = "", OptionsOf options = nullptr) {
    return {.label = label,
            .key = key,
            .type = "printable",
            .input = Input::menu,
            .choices = choices,
            .options = options,
            .help = help};
}
constexpr Field menu(const char *key, const char *label, OptionsOf options, const char *help = "") {
    return menu(key, label, no_choice, help, options);
}

} // namespace zandorin::settings::shapes
