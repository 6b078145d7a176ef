#pragma once

#include "settings/parts.h"
#include "ui/settings_page.h"

#include <functional>
#include <string>
#include <vector>

// The lists of a settings page (settings::Page::lists): their tables, and the pages that add, edit
// and delete a record. A request names what it wants in the fields "action" (add, edit, delete,
// enable, disable, up, down, copy), "type" (the list's word) and "index" (the record's number).
// What a page of a record was opened with goes along in "opened": the record's name, or what
// RecordList::hashOf answered. By that the record is found again, whatever its number is by then.
//
// Where records have lists of their own there is one list on the page, and "action" is view, edit
// (a new record, or the one at "index"), modify, apply, delete, List::command, <word> (an entry of
// a list inside the record), <word>_new and <word>_save, where <word> is the first word of that
// list's key; "modify_index" is the entry's number, "modify_opened" what it was opened with, "list"
// the word where an entry is deleted. There every submission by POST acts, unless it has the field
// "select" (another variant is to be shown) or "probe" (List::probe).

namespace zandorin {
class Cgi;
}

namespace zandorin::ui {

/// A change of one record, as a page's own code sees it.
struct RecordChange {
    const settings::List &list;
    std::string action; ///< add, edit, delete, enable, disable, up, down, copy or List::command
    std::string key;    ///< of the record in the configuration
    std::string name;   ///< that it is stored with; "" of a new one, or of a list without names
    /// What was submitted; null where nothing was: all but add and edit.
    const settings::Values *values = nullptr;

    /// The name that it will have.
    std::string nameToBe() const;
};

/// What a page does besides, in the order of a change; all of it under the lock of the settings.
/// Errors are those of the request, and nothing is changed once there is one.
struct ListHooks {
    using Step = void (*)(Engine &engine, const RecordChange &change);

    Step check = nullptr; ///< refuses; nothing is changed yet
    Step apply = nullptr; ///< all checks have passed: changes what is kept elsewhere
    Step store = nullptr; ///< in the store's memory, the submitted values being there already
    Step probe = nullptr; ///< answers List::probe by messages; nothing is changed
    /// Said when the configuration could not be written after `apply`.
    const char *halfDone = "";
    /// Markup behind what the table says of a record in a column.
    std::function<std::string(const settings::Column &column, const settings::Part &record)> note =
        nullptr;
    SectionRows rows = nullptr; ///< on a record's page
};

/// True when the request is about a record, or a new one, of one of the page's lists.
bool isRecordRequest(const Cgi &cgi, const settings::Page &page);

/// A formlet's first callback for such a request: declares the elements of the record's page, and
/// makes the change that was asked for. Nothing for any other request.
void defineRecords(Engine &engine, const settings::Page &page, const ListHooks &hooks = {});

/// Shows the page of the record that the request is about; false when there is none to be shown,
/// because the change is done, for example.
bool showRecord(Engine &engine, const settings::Page &page, const ListHooks &hooks = {});
/// The tables of the page's lists.
void showLists(Engine &engine, const settings::Page &page, const ListHooks &hooks = {});
/// One of both: a formlet's second callback, for a page that is nothing but lists.
void renderRecords(Engine &engine, const settings::Page &page, const ListHooks &hooks = {});

/// A table of cells, which are markup, under their titles. Without rows `empty` is shown.
void cellTable(Engine &engine, const std::string &title, const std::vector<std::string> &headings,
               const std::vector<std::vector<std::string>> &rows, const std::string &empty,
               const std::string &cellClass = "field-output");

/// A record's name, or the word of its list and its number; raw.
std::string recordName(const ConfigManager &config, const settings::Part &record);

/// The records of a list, which lies inside `outer` unless that is null. Without the name that
/// identifies it one counts as damaged: it is logged and left out.
std::vector<settings::Part> listedRecords(const ConfigManager &config, const settings::List &list,
                                          const settings::Part *outer = nullptr);

} // namespace zandorin::ui
