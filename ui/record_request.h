#pragma once

#include "settings/records.h"
#include "settings/values.h"

#include <optional>
#include <string>
#include <vector>

namespace zandorin {
class Cgi;
}

namespace zandorin::ui {

class Form;

/// What a request wants of the lists of a page (see ui/record_page.h).
struct RecordRequest {
    std::string action;                     ///< "" for none that is known
    const settings::List *list = nullptr;   ///< null for none of the page's
    unsigned index = 0;                     ///< 0 when it is no number
    std::optional<std::string> opened = {}; ///< identity of the record that was meant
    bool submitted = false;                 ///< the button of a record's page was pressed

    bool adds() const { return action == "add"; }
    /// The page of the record's fields, or what it sends.
    bool edits() const { return adds() || action == "edit"; }
    bool toggles() const { return action == "enable" || action == "disable"; }
    /// A link that acts by itself.
    bool isCommand() const { return !edits() && action != "delete"; }
};

RecordRequest recordRequest(const Cgi &cgi, const settings::Page &page);

/// What identifies a record for as long as its page is open; "" when it is not there.
std::string identityOf(const ConfigManager &config, const settings::List &list, unsigned number);

/// The record that a request is about, by its number now: that of what was opened, if the request
/// says so, else that of its index. Of one that adds the number that the new record gets.
std::optional<unsigned> requestedRecord(const ConfigManager &config, const RecordRequest &request);

/// Where that record's fields are. They keep the names that the page was opened with.
settings::Place placeOf(const RecordRequest &request, unsigned number);

/// One row of a list.
struct ListedRecord {
    unsigned number;
    std::string key;
};
/// The records of a list. Without the name that identifies it one counts as damaged: it is logged
/// and left out.
std::vector<ListedRecord> listedRecords(const ConfigManager &config, const settings::List &list);

/// True when the page's table says that the record of that name can not be deleted or switched
/// off.
bool isFixed(const settings::List &list, const std::string &name);

/// The hidden fields that a record's page sends. Closes the form.
void closeRecordForm(Form &form, const RecordRequest &request, unsigned number,
                     const std::string &identity);

} // namespace zandorin::ui
