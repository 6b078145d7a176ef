#pragma once

#include <span>
#include <string>

namespace zandorin {
class Engine;
}

// What the table of a settings page is written in, see ui/settings_page.h.

namespace zandorin::ui {

/// How a value is typed in.
enum class Input {
    text,
    password,
    confirmation, ///< of a password: compared by the form's validator, never saved
    textArea,
    unsafeText,     ///< the stored value is shown beside; empty keeps it, a box deletes it
    unsafeSecret,   ///< the same for one that gives access: no browser keeps what is typed in
    unsafeTextArea, ///< the same as unsafeText in an area
    check,          ///< stored as "on", deleted when unchecked
    menu,           ///< of a menu and of radio buttons only a choice is accepted, or what is stored
    radio,
    custom, ///< markup of the page's own; declares no element
};

struct Choice {
    const char *value;
    const char *label;
};

/// One row.
struct Setting {
    const char *label;
    /// Configuration key and field name. Of a confirmation: the field's name alone.
    const char *key = "";
    const char *type = "text"; ///< element type
    Input input = Input::text;
    std::span<const Choice> choices = {};            ///< of a menu or radio buttons
    const char *help = "";                           ///< markup under the input
    int maxlength = 0;                               ///< bytes; below 1: 255 and no attribute
    const char *confirms = nullptr;                  ///< of a confirmation: the password's key
    std::string (*markup)(Engine &engine) = nullptr; ///< a custom row's; of others: above the input
};

struct Section {
    const char *title;
    std::span<const Setting> settings;
    /// False leaves the section out, and what is stored under its keys alone. None: always there.
    bool (*offered)(Engine &engine) = nullptr;
};

} // namespace zandorin::ui
