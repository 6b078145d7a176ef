#pragma once

#include "settings/option.h"
#include "types/type_name.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace zandorin {
class ConfigManager;
}

// What a page of settings is, as constant data. One table a page, in forms/<id>.cpp; the page, the
// check of a submission, the check while typing, zandorin-config, docs/configuration.md and the
// search index all read it. Texts are "" where there is nothing to say.
//
//     constexpr Field server[] = {
//         {.label = "SMTP Server", .key = "config.system.smtp.server", .type = "address"},
//     };
//     constexpr Section sections[] = {{.title = "Mail Server", .fields = server}};
//     constexpr Page page = {.sections = sections};
//     const AutoRegisterPage registration("smtp", packed<page>());
//
// A key that begins with "." lies below the place that the page is about: a record of a list, or
// what the request chooses (see Chooser).

namespace zandorin::settings {

class Problems;
class Values;

/// How a value is typed in, and how it is stored.
enum class Input : std::uint8_t {
    text,
    password,
    confirmation, ///< of a password: compared with it, never saved
    textArea,
    unsafeText,     ///< the stored value is shown beside; empty keeps it, a box deletes it
    unsafeSecret,   ///< the same for one that gives access: no browser keeps what is typed in
    unsafeTextArea, ///< the same as unsafeText in an area
    check,          ///< stored as "on", deleted when unchecked
    menu,           ///< of a menu and of radio buttons only a choice is taken, or what is stored
    radio,
    flags, ///< a box for each choice: <key><choice> is "on" or not there
    set,   ///< a box for each choice: the chosen ones are a numbered list below the key
    texts, ///< a numbered list of texts: each can be changed or deleted, one can be added
    note,  ///< nothing to type: what `status` answers, or what is stored
    lines, ///< an area of texts, one a line, each of the field's type
    file,  ///< of lines for the field before it; its key is that one's and ".file"
};

/// A choice that every appliance offers.
struct Choice {
    const char *value;
    const char *label;
};

/// Choices that depend on the configuration, such as the serial ports. `place` is the key of the
/// place that the page is about, "" for none.
using OptionsOf = std::vector<Option> (*)(const ConfigManager &config, const std::string &place);
/// What is so at this moment, as raw text: `key` is the whole key of the field, or of the record.
using StatusOf = std::string (*)(const ConfigManager &config, const std::string &key);
/// True when a section, a list or a variant is there on this appliance.
using Condition = bool (*)(const ConfigManager &config);
/// A test of one value, beside its type's; never called for an empty one.
using Accepts = bool (*)(const std::string &value);
/// A rule across fields: adds a problem for what does not go together.
using Rule = void (*)(const Values &values, Problems &problems);
/// Writes what follows from the values of the record at `key`, once they are in the store.
using Derive = void (*)(ConfigManager &config, const std::string &key);

/// True when the value of the field `key` is one of `values` (separated by blanks), or is given at
/// all where `values` is "". A page without such a field: never.
struct When {
    const char *key = "";
    const char *values = "";
};

/// One setting.
struct Field {
    const char *label; ///< raw
    /// Configuration key and field name. Of a confirmation: the field's name alone.
    const char *key = "";
    TypeName type = "text";
    Input input = Input::text;
    std::span<const Choice> choices = {}; ///< of a text: what is often typed in
    OptionsOf options = nullptr;          ///< after the choices of the table
    const char *help = "";                ///< markup under the input
    int maxlength = 0;                    ///< bytes; below 1: 255 and no attribute

    // Beside the type. Of a whole number its least and largest value, of a password its length in
    // bytes; both 0: no limits.
    std::int32_t least = 0;
    std::int32_t most = 0; ///< 0 with a `least`: no upper limit
    Accepts accepts = nullptr;
    /// Says that a value is outside the limits, not accepted or, of a confirmation, not the same;
    /// markup, "{}" in it is the value. "": words made from the limits.
    const char *refusal = "";

    const char *confirms = ""; ///< of a confirmation: the password's key
    When required = {};
    /// Said when it is required and not given; markup, "{}" in it is the value that requires it.
    const char *missing = "";
    // For the documentation alone (see docs/configuration.md), and not in zandorin.cgi.
    const char *standard = ""; ///< what holds when nothing is stored
    const char *note = ""; ///< what it means, Markdown, where that is not the help's first words
    const char *file = ""; ///< kept in this file of the appliance; the page's own code writes it
    /// Of a set and of texts the entries' name, before their number; of a file what it holds.
    const char *word = "";
    /// Of a set the boxes' name, before the choice; of texts the name of the input for one more.
    /// From "." on below the place; "": made from the key.
    const char *posted = "";
    bool grid = false;         ///< boxes eight in a row and one for all of them: serial ports
    bool alone = false;        ///< belongs to one place: left out where several are changed at once
    StatusOf status = nullptr; ///< shown above the input
    /// Answers what is stored of a value that is no key of the configuration; the page's own code
    /// writes it.
    StatusOf held = nullptr;
};

struct Section {
    const char *title;
    std::span<const Field> fields;
    /// False leaves the section out, and what is stored under its keys alone.
    Condition offered = nullptr;
    const char *suffix = ""; ///< follows every key: for the same fields a second time
    // By what is stored in a field of the place, "" for a record that is not there yet.
    When where = {};  ///< the section is there only where this is so
    When except = {}; ///< and where this is not; with no key: everywhere
};

/// A list column: the stored value in the words of its field (of the variant's key its title), or
/// what `status` answers of the record; of both the second follows in brackets. With neither the
/// page's own code knows the text.
struct Column {
    const char *title;
    const char *key = "";
    StatusOf status = nullptr;
    bool markup = false; ///< `status` answers that
};

/// What a record of some list can be besides its own fields, by the value of a field: the type of
/// an action, say.
struct Variant {
    const char *name; ///< as it is stored
    const char *title;
    std::span<const Field> fields;
    Condition offered = nullptr;
    const char *subject = ""; ///< key of the field that says what it is about; "": it is one thing
};

/// Where the records of another list name those of this one: in a numbered list of texts. They are
/// renamed there with the record, and taken out with it.
struct Mention {
    const char *key;
    const char *word;  ///< of the other list
    const char *set;   ///< key from "." on
    const char *entry; ///< before the number of a text
};

/// Records <key>.<word>1 and so on, numbered without gaps, with their number in <key>.total.
struct List {
    const char *key;
    const char *word;
    const char *title;     ///< of the table: "Users"
    const char *singular;  ///< of one record: "User"
    const char *empty;     ///< in place of the table's rows
    const char *name = ""; ///< key of the field that identifies a record; "": its contents do
    std::span<const Column> columns = {};
    std::span<const Section> sections = {}; ///< of a record's page
    const char *question = "";              ///< before deleting; raw, "{}" in it is the name
    const char *toggle = "";                ///< key of the box that switches a record off
    const char *toggled = "";               ///< says that it was; markup, "{}" in it is the name
    /// Names of records that can be neither deleted nor switched off, separated by blanks.
    const char *fixed = "";
    /// Begins what is said to who tries, "{}" in it is the name: "The user {} is built in and".
    const char *refusal = "";
    std::span<const Mention> mentions = {};
    bool moves = false; ///< records can be moved up and down
    bool copies = false;
    Rule rule = nullptr;         ///< across the fields of one record
    const char *variantKey = ""; ///< "": the records have no variants
    /// Of the field in a form that names the variant; "": made from the key.
    const char *variantField = "";
    const char *variantWord = ""; ///< what one of them is called: "check"
    const char *unchosen = "";    ///< shown while none is chosen; markup
    const char *noVariant = "";   ///< refuses a record of none that is known, if not ""; markup
    std::span<const Variant> variants = {};
    std::span<const List> lists = {}; ///< inside each record; keys from "."
    /// Key of the field that took the words of one text, separated by commas, that older releases
    /// kept under the list's key; it becomes records when the list is changed.
    const char *text = "";
    Condition offered = nullptr;
    Derive derive = nullptr; ///< after every change of a record's values
    // One more thing to be done with a record, after a question, which the page's own code does.
    const char *command = "";
    const char *commandTitle = "";    ///< of its links
    const char *commandQuestion = ""; ///< raw, "{}" in it is the name
    /// Of a button on the page of a stored record, for a question that changes nothing; the page's
    /// own code answers it.
    const char *probe = "";
};

/// A page that is about one of several places, which the request names in the field `variable`.
struct Chooser {
    const char *variable = "";
    const char *label = "";
    const char *help = "";
    const char *prefix = "";     ///< of the place's key: <prefix><choice>
    OptionsOf options = nullptr; ///< the first is the one when the request names none
    const char *unknown = "";    ///< said before a name that is none of them
    /// With columns the request that names no place gets a table of all of them, each with a link
    /// to its page, and several can be changed at once (see settings/several.h).
    std::span<const Column> columns = {};
    const char *title = ""; ///< of that table
};

/// Something that can be tried with what is typed in, before it is stored: a test mail.
struct Attempt {
    const char *service; ///< of services/
    const char *name;    ///< of the service's attempt
    const char *title;   ///< above its fields
    const char *button;
    /// What it asks for besides, never stored; keys below "config.try".
    std::span<const Field> fields = {};
};

struct Page {
    std::span<const Section> sections = {};
    Rule rule = nullptr;
    std::span<const List> lists = {};
    Chooser chooser = {};
    std::span<const Attempt> attempts = {};
    /// Names of services whose last refusal the page shows, separated by blanks.
    const char *services = "";
};

} // namespace zandorin::settings
