#pragma once

#include "settings/values.h"

#include <functional>
#include <string>

namespace zandorin {
class Cgi;
class Engine;
} // namespace zandorin

// The lists of a settings page (settings::Page::lists): their tables, and the pages that add, edit
// and delete a record. A request names what it wants in the fields "action" (add, edit, delete,
// enable, disable, up, down, copy), "type" (the list's word) and "index" (the record's number).
// What a page of a record was opened with goes along in "opened": the record's name, or what
// RecordList::hashOf answered. By that the record is found again, whatever its number is by then.

namespace zandorin::ui {

/// A change of one record, as a page's own code sees it.
struct RecordChange {
    const settings::List &list;
    std::string action; ///< see above
    std::string key;    ///< of the record in the configuration
    std::string name;   ///< that it is stored with; "" of a new one, or of a list without names
    /// What was submitted; null where nothing was: all but add and edit.
    const settings::Values *values = nullptr;

    /// The name that it will have.
    std::string nameToBe() const;
};

/// Text from outside as messages show it.
std::string quoted(const std::string &text);

/// What a page does besides, in the order of a change; all of it under the lock of the settings.
/// Errors are those of the request, and nothing is changed once there is one.
struct RecordHooks {
    using Step = void (*)(Engine &engine, const RecordChange &change);

    Step check = nullptr; ///< refuses; nothing is changed yet
    Step apply = nullptr; ///< all checks have passed: changes what is kept elsewhere
    Step store = nullptr; ///< in the store's memory, the submitted values being there already
    /// Said when the configuration could not be written after `apply`.
    const char *halfDone = "";
    /// Markup behind a record's name in the table.
    std::function<std::string(const settings::List &list, const std::string &key)> note = nullptr;
};

/// True when the request is about a record, or a new one, of one of the page's lists.
bool isRecordRequest(const Cgi &cgi, const settings::Page &page);

/// A formlet's first callback for such a request: declares the elements of the record's page, and
/// makes the change that was asked for. Nothing for any other request.
void defineRecords(Engine &engine, const settings::Page &page, const RecordHooks &hooks = {});

/// Shows the page of the record that the request is about; false when there is none to be shown,
/// because the change is done, for example.
bool showRecord(Engine &engine, const settings::Page &page);
/// The tables of the page's lists.
void showLists(Engine &engine, const settings::Page &page, const RecordHooks &hooks = {});
/// One of both: a formlet's second callback, for a page that is nothing but lists.
void renderRecords(Engine &engine, const settings::Page &page, const RecordHooks &hooks = {});

} // namespace zandorin::ui
