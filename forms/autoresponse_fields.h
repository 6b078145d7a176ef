#pragma once

#include "forms/autoresponse_choices.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin {
class Cgi;
class ConfigManager;
class Engine;
} // namespace zandorin

// The vocabulary of auto-responses as constant data: what can be checked, what can be done, and the
// settings of each.

namespace zandorin::autoresponse {

enum class Input : std::uint8_t {
    text,
    unsafeText, ///< the stored value is shown beside; empty keeps it, a box deletes it
    unsafeArea, ///< the same with several lines
    check,
    menu,
    ports,     ///< a box for each serial port, stored as a list of references
    arguments, ///< a list of texts: what is stored can be changed or deleted, one can be added
};

/// A text that stands where it is used, in at most size - 1 bytes. The program may be loaded
/// anywhere, and an address in its data is set right before main, whichever page is asked for.
template <std::size_t size> class InlineText {
  public:
    constexpr InlineText(const char *text) {
        for (std::size_t at = 0; (text_[at] = text[at]) != '\0'; ++at)
            if (at + 1 == size)
                throw "too long"; // does not compile
    }

    operator std::string_view() const { return text_; }
    operator std::string() const { return text_; }
    friend std::string operator+(std::string left, const InlineText &right) {
        return left += right.text_;
    }

  private:
    char text_[size] = {};
};

/// One setting of a check or an action. Keys are relative to the auto-response or the action.
struct Field {
    InlineText<40> key;
    InlineText<32> label;
    InlineText<28> type = "text"; ///< element type
    Input input = Input::text;
    InlineText<80> help = "";
    std::int16_t maxlength = 0; ///< bytes; below 1: 255
    Menu menu = Menu::none;
    InlineText<36> list = ""; ///< of ports and arguments: the entries' key without their number
};

/// A type of check or of action.
struct Type {
    const char *name;  ///< as it is stored
    const char *title; ///< of its panel
    std::span<const Field> fields;
    const char *subject =
        ""; ///< key of the field that says what is watched; "" when it is one thing
};

std::span<const Type> checkTypes();
std::span<const Type> actionTypes();
/// Null when there is none of that name.
const Type *findType(std::span<const Type> types, std::string_view name);

/// False for a check that this appliance cannot make.
bool isOffered(const ConfigManager &config, const Type &check);
/// True when a check watches any number of serial ports at once.
bool watchesPorts(const Type &check);

/// Where the fields of one panel come from and go to: prefixes of the names in the form and of the
/// keys in the configuration, each with the dot at its end.
struct Place {
    std::string fields;
    std::string keys;
    bool submitted = false; ///< inputs show what was submitted instead of what is stored
};

/// Declares the elements, so that the form checks them; nothing is saved by that.
void declareFields(Engine &engine, std::span<const Field> fields, const Place &place);
/// Adds an error for each rule on values that element types do not cover: menus take what they
/// offer or what is stored already, numbers fit in 31 bits.
void checkFields(Engine &engine, Cgi &cgi, std::span<const Field> fields, const Place &place);
/// Puts the submitted values, checked before, into the store.
void storeFields(Engine &engine, Cgi &cgi, std::span<const Field> fields, const Place &place);
/// Deletes every key of the fields.
void clearFields(ConfigManager &config, std::span<const Field> fields, const std::string &keys);

/// The markup of a field's input.
std::string fieldInput(Engine &engine, Cgi &cgi, const Field &field, const Place &place);
/// What an input shows: the submitted value or the stored one, raw.
std::string shownText(Engine &engine, Cgi &cgi, const std::string &key, const Place &place,
                      int maxlength = 0);
/// The stored value in the words of the page, such as a port's label; raw.
std::string storedWords(const ConfigManager &config, const Field &field, const std::string &keys);

// Rows of the tables.
constexpr Field textField(const char *key, const char *label, const char *type,
                          const char *help = "", std::int16_t maxlength = 0) {
    return {.key = key, .label = label, .type = type, .help = help, .maxlength = maxlength};
}
constexpr Field numberField(const char *key, const char *label, const char *help = "") {
    return {.key = key, .label = label, .type = "numeric", .help = help, .maxlength = 10};
}
constexpr Field boxField(const char *key, const char *label, const char *help = "") {
    return {.key = key, .label = label, .type = "boolean", .input = Input::check, .help = help};
}
constexpr Field menuField(const char *key, const char *label, Menu menu, const char *help = "") {
    return {.key = key,
            .label = label,
            .type = "printable",
            .input = Input::menu,
            .help = help,
            .menu = menu};
}
constexpr Field portsField(const char *list) {
    return {.key = list, .label = "Serial Ports", .input = Input::ports, .list = list};
}
constexpr Field argumentsField() {
    return {.key = "custom.argument",
            .label = "Arguments",
            .type = "unsafe_printable",
            .input = Input::arguments,
            .help = "Handed to the script in this order. Each save adds one.",
            .list = "custom.args.arg"};
}

} // namespace zandorin::autoresponse
