#pragma once

#include "settings/page.h"
#include "settings/submission.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin::settings {

/// Where the fields whose keys begin with "." are: in front of their names in a form, and of their
/// keys in the configuration. The two differ for a record that is not stored yet.
struct Place {
    std::string names = "";
    std::string keys = "";
};

/// One field of a page with what is stored and what was submitted; each is read once.
struct Value {
    const Field *field; ///< of the table
    const char *suffix; ///< of its keys, see Section
    std::string name;   ///< of the form's field
    std::string key;    ///< in the configuration
    std::string posted; ///< of flags and sets the beginning of the boxes' names, of texts the name
                        ///< of the input for one more
    std::string stored; ///< "" when there is none
    std::string text;   ///< submitted; without a submission the stored one
    bool submitted = false;
    bool cleared = false; ///< the box that deletes the stored value was ticked

    // Of flags, sets and texts. What is chosen are the values of options, or texts.
    std::vector<Option> options = {}; ///< of menus and radio buttons too: all that is offered
    std::vector<std::string> storedList = {};
    std::vector<std::string> list = {};

    // Of a field that several places share (see settings/several.h).
    std::vector<std::string> everywhere = {}; ///< what each of them has stored; empty for one place
    bool isMixed() const;                     ///< true when these differ
};

/// The fields of a page, or of one record, as a submission would leave them. Made for one place;
/// the table and the configuration must last as long.
class Values {
  public:
    /// `submission` may be null: then every value is the stored one. It must last until the last
    /// fields are added.
    Values(const ConfigManager &config, const Submission *submission, Place place = {})
        : config_(config), submission_(submission), submitted_(submission != nullptr),
          place_(std::move(place)) {}

    /// Takes the fields of each section that is offered.
    void add(std::span<const Section> sections);
    /// True when the section is there, on this appliance and at this place.
    bool offers(const Section &section) const;
    void add(std::span<const Field> fields, const char *suffix = "");
    /// The fields of a record: its sections', the one that names its variant, and the variant's.
    /// One that this appliance can not have is none, unless it is stored.
    void add(const List &list);
    /// The fields of a record without a variant's.
    void addGeneral(const List &list);

    /// Takes in what another place has stored in the same fields. Of a field in which the two
    /// differ the stored value is "", and so is the text unless one was submitted.
    void share(const Values &other);

    const ConfigManager &config() const { return config_; }
    const Place &place() const { return place_; }
    bool isSubmitted() const { return submitted_; }
    const std::vector<Value> &all() const { return values_; }
    /// Null when there is no such field. `key` is a whole one or, from "." on, one of the place.
    const Value *find(std::string_view key) const;

    // What a rule asks about; of a field that is not there, "" or false.

    /// As it was submitted, or is stored.
    std::string text(std::string_view key) const;
    /// As it will be: an unchanged password, or an empty input that keeps its value, is the stored
    /// one.
    std::string after(std::string_view key) const;
    bool isGiven(std::string_view key) const { return !after(key).empty(); }
    /// True when `when` names nothing, or what it names is so.
    bool holds(const When &when, std::string_view suffix = "") const;
    /// The field's label; the key when there is no such field.
    std::string label(std::string_view key) const;

    /// A key of the table at this place.
    std::string keyOf(std::string_view key, std::string_view suffix = "") const;

  private:
    void addValue(const Field &field, const char *key, const char *suffix,
                  const char *name = nullptr);
    std::string postedName(const Value &value) const;
    void read(Value &value) const;
    void readFlags(Value &value) const;
    void readSet(Value &value) const;
    void readTexts(Value &value) const;
    std::string submittedText(const std::string &name, std::size_t longest,
                              const std::string &stored) const;
    bool isTicked(const std::string &name, bool stored) const;
    bool isStored(const When &when) const;

    const ConfigManager &config_;
    const Submission *submission_;
    bool submitted_;
    Place place_;
    std::vector<Value> values_;
};

/// True for an input that shows the stored value beside itself, and keeps it when left empty.
bool isUnsafe(const Field &field);

/// Of flags and sets: the name of the box of one choice.
std::string boxName(const Value &value, const Option &option);

/// What is stored in the words of the page, such as the label of the chosen port; raw.
std::string storedWords(const Value &value);
/// The same for a column of a table: of a box "yes" or "", of a menu that nothing is stored of its
/// first choice. None where the sections have no field of that key.
std::optional<std::string> columnWords(const ConfigManager &config,
                                       std::span<const Section> sections, const std::string &place,
                                       std::string_view key);

/// What an input for the field takes, in bytes; one more than its longest text.
std::size_t bufferOf(const Field &field);

/// All that a menu, radio buttons or a row of boxes offer: the table's choices and the appliance's.
std::vector<Option> optionsOf(const Field &field, const ConfigManager &config,
                              const std::string &place);

} // namespace zandorin::settings
