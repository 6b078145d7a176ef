#pragma once

#include "settings/values.h"

#include <functional>
#include <string>
#include <vector>

namespace zandorin {
class Cgi;
class ConfigManager;
class Engine;
} // namespace zandorin

// A page about one list of records that have variants, each with lists of its own (settings::List
// with variants and lists), and the settings of all of them together in the page's sections.
//
// A request names what it wants in the field "action": view, edit (a new record, or the one at
// "index"), modify, apply, delete, <word> (an entry of a list inside the record), <word>_new and
// <word>_save, where <word> is the first word of that list's key; "modify_index" is the entry's
// number, "list" the word where an entry is deleted. The variant of an entry is in
// <word>_action_type. What a record's page was made from is in "opened": a submission about a
// record that is something else by now changes nothing.

namespace zandorin::ui {

class Table;

struct VariantHooks {
    /// The text of the column that the table has no words for; raw.
    std::function<std::string(unsigned record)> cell = nullptr;
    /// Refuses what the table can not say, by errors of the request.
    std::function<void(const settings::Variant &variant, const settings::Values &values)> check =
        nullptr;
    /// Writes the rows of a section after the first.
    std::function<void(Table &table, const settings::Section &section, settings::Values place)>
        rows = nullptr;

    // One more command about a record, carried out like deleting it: after a question.
    const char *command = "";
    const char *commandTitle = "";    ///< of its column and links
    const char *commandQuestion = ""; ///< raw; "{}" in it is the record's name
    /// Under the lock of the settings; `name` is the record's.
    std::function<void(const std::string &name)> carryOut = nullptr;
};

/// A formlet's callbacks. The page has a table with one list.
void defineVariantPage(Engine &engine, Cgi &cgi, const VariantHooks &hooks);
void renderVariantPage(Engine &engine, Cgi &cgi, const VariantHooks &hooks);

/// A table of texts, raw, under their titles; each row ends with further cells of markup.
struct TextRow {
    std::vector<std::string> texts = {};
    std::vector<std::string> markup = {};
};
void textTable(Engine &engine, const std::string &title, const std::vector<std::string> &headings,
               const std::vector<TextRow> &rows, const std::string &empty);

/// A record's name, or the word of its list and its number; raw.
std::string recordName(const ConfigManager &config, const settings::List &list, unsigned number);

} // namespace zandorin::ui
