#pragma once

#include "forms/users_model.h"

#include <span>
#include <string>
#include <vector>

namespace zandorin {
class Cgi;
class Engine;
} // namespace zandorin

namespace zandorin::ui {
class Form;
class Table;
} // namespace zandorin::ui

// What the edit pages of users and groups have in common. Fields are named by the configuration
// keys of the record.

namespace zandorin::users {

/// What a request of the page asks for.
struct Task {
    std::string action;         ///< as sent
    const Kind *kind = nullptr; ///< null when the type is neither
    unsigned index = 0;         ///< 0 when it is no number
    bool submitted = false;     ///< the button of an edit or confirmation page was pressed
    std::string opened;         ///< the record's name when that page was opened
};
Task taskOf(const Cgi &cgi);

/// The fields "form", "action" and so on, from which taskOf reads the task of a submission. Closes
/// the form.
void closeTaskForm(ui::Form &form, const std::string &action, const Kind &kind,
                   const Record &record);

/// A row of an edit page.
struct Field {
    const char *label;
    const char *key;       ///< behind the record's
    const char *type;      ///< element type; "boolean" is a check box, stored as "on"
    const char *help = ""; ///< markup
    int maxlength = 255;   ///< bytes
};

// What both kinds of record begin with.
constexpr Field nameField(const char *label, const Kind &kind, const char *type, const char *help) {
    constexpr int longest = 64;
    return {
        .label = label, .key = kind.nameField, .type = type, .help = help, .maxlength = longest};
}
constexpr Field descriptionField(const char *help = "") {
    return {.label = "Description", .key = ".description", .type = "printable", .help = help};
}

/// A check box with its text, raw, which shows `title` when it is pointed at; one of several.
std::string labelledBox(const std::string &name, bool checked, const std::string &text,
                        const std::string &title = "", bool fixed = false);

/// Reads, checks, saves and shows the fields of one record.
class RecordForm {
  public:
    /// `submitted`: values are those of the request, else the stored ones.
    RecordForm(Engine &engine, Cgi &cgi, Record record, bool submitted)
        : engine_(engine), cgi_(cgi), record_(std::move(record)), submitted_(submitted) {}

    Engine &engine() const { return engine_; }
    Cgi &cgi() const { return cgi_; }
    const Record &record() const { return record_; }
    bool isSubmitted() const { return submitted_; }
    bool isNew() const { return record_.name.empty(); }

    /// Of a field of the record; submitted values are cut two bytes behind `maxlength`.
    std::string value(const char *key, int maxlength = 255) const;
    bool isOn(const char *key) const;
    /// Whether the box of that field name was ticked; for a page that was not submitted `stored`.
    bool isTicked(const std::string &name, bool stored) const;

    /// Adds an error for each value that does not fit its field.
    void check(std::span<const Field> fields) const;
    /// The same for one value; true when it fits.
    bool check(const Field &field, const std::string &value) const;
    /// Puts the submitted values into the store, below `key`.
    void save(std::span<const Field> fields, const std::string &key) const;
    void show(ui::Table &table, std::span<const Field> fields) const;

    // Check boxes <key><number>, a box for each serial port.
    void showPorts(ui::Table &table, const char *help) const;
    void savePorts(const std::string &key) const;
    /// Sets or deletes the flag of one number: submitted boxes are what there is.
    void saveFlag(const std::string &flag, const std::string &key) const;

    /// Errors so far.
    std::size_t errors() const;

  private:
    Engine &engine_;
    Cgi &cgi_;
    Record record_;
    bool submitted_;
};

/// Errors that concern one record's account or configuration, in the words of the page.
std::string quoted(const std::string &text);

} // namespace zandorin::users
