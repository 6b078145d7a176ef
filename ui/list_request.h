#pragma once

#include "settings/parts.h"
#include "ui/list_page.h"

#include <optional>
#include <string>
#include <vector>

namespace zandorin::ui {

class Form;

/// Which record a request means.
struct Meant {
    unsigned index = 0;                     ///< 0 when it is no number
    std::optional<std::string> opened = {}; ///< identity of the one that its page was made from
};

/// What a request wants of the lists of a page, in whichever words (see ui/list_page.h).
struct ListRequest {
    std::string action = "";               ///< as a RecordChange has it; "" for none that is known
    const settings::List *list = nullptr;  ///< of the page; null for none
    std::string word = "";                 ///< of a list inside the record, for an entry of it
    const settings::List *inner = nullptr; ///< that list; null for none of the record's
    Meant record = {};
    Meant entry = {};
    bool submitted = false; ///< the button of a record's page was pressed
    bool selects = false;   ///< the one that only shows the panel of a variant
    bool probes = false;    ///< the one that only asks (List::probe)

    bool adds() const { return action == "add"; }
    /// The page of the record's fields, or what it sends.
    bool edits() const { return adds() || action == "edit"; }
    bool toggles() const { return action == "enable" || action == "disable"; }
    /// Is done after a question.
    bool asks() const { return action == "delete" || action == list->command; }
    /// A link that acts by itself.
    bool isCommand() const { return !edits() && !asks(); }
    bool isAboutEntry() const { return !word.empty(); }
};

/// True for lists whose records have lists of their own: their pages use another set of words.
bool isNested(const settings::List &list);

/// The first word of the key of a list inside a record: "trigger" of ".trigger_actions".
std::string wordOf(const settings::List &inner);

ListRequest listRequest(const Cgi &cgi, const settings::Page &page);

/// A record by its list and number; 0 is a new one.
struct At {
    const settings::List &list;
    unsigned number;
};
using CommandFields = std::vector<std::pair<std::string, std::string>>;
/// What a link or, with `submits`, a form sends for an action on the record, or on its entry unless
/// that is null.
CommandFields commandFields(const std::string &action, const At &record, const At *entry = nullptr,
                            bool submits = false);

/// The record of that number in the list at `key`, or, for 0, the one that comes next.
settings::Part partAt(const ConfigManager &config, const settings::List &list,
                      const std::string &key, unsigned number);

/// What identifies a record for as long as its page is open; "" when it is not there.
std::string identityOf(const ConfigManager &config, const settings::Part &record);

/// The record that a request is about, by its number now: that of what was opened, if the request
/// says so, else that of its index. Its fields keep the names that the page was opened with.
std::optional<settings::Part> requestedRecord(const ConfigManager &config,
                                              const ListRequest &request);
/// The same for the entry of that record.
std::optional<settings::Part> requestedEntry(const ConfigManager &config,
                                             const ListRequest &request,
                                             const settings::Part &record);

/// The hidden fields that a record's page sends. Closes the form.
void closeRecordForm(const ConfigManager &config, Form &form, const ListRequest &request,
                     const settings::Part &record, const settings::Part *entry);

} // namespace zandorin::ui
