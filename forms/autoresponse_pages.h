#pragma once

#include "forms/autoresponse_command.h"

#include <functional>
#include <string>
#include <vector>

namespace zandorin::ui {
class Form;
class Table;
} // namespace zandorin::ui

namespace zandorin::autoresponse {

void renderList(Engine &engine, Cgi &cgi, const Command &command);
/// Asks before an auto-response, or an action of it, is deleted.
void renderDelete(Engine &engine, Cgi &cgi, const Command &command);
void renderCancel(Engine &engine, Cgi &cgi, const Command &command);
/// One auto-response with its actions and, when the command means one, the panel of an action.
void renderEdit(Engine &engine, Cgi &cgi, const Command &command);
void renderStatus(Engine &engine, Cgi &cgi);

/// The two action lists of an auto-response.
void renderActions(Engine &engine, Cgi &cgi, const Command &command, unsigned record);

/// What the service last reported of an auto-response.
struct Report {
    std::string status = "Normal";
    std::string subject = ""; ///< device or property
    std::string value = "";   ///< event or measured value
    std::string user = "";    ///< user or device name
};

// Pieces that the pages share. Texts are raw.

/// The page's address, with an action and what follows it when given.
std::string target(const std::string &action = "", const std::string &rest = "");
std::string target(const std::string &action, unsigned record, const std::string &rest = "");
/// A record's name, or "Auto-Response <number>".
std::string recordName(const ConfigManager &config, unsigned record);
/// The title of a record's check.
std::string checkTitle(const ConfigManager &config, unsigned record);
/// One cell of a list.
void textCell(ui::Table &table, const std::string &text);
/// The table of all auto-responses: `cells` writes those of one row.
void recordTable(Engine &engine, Cgi &cgi, const std::string &title,
                 const std::vector<std::string> &headings,
                 const std::function<void(ui::Table &, unsigned number, const Report &)> &cells);
/// A row of column headings.
void headingRow(ui::Table &table, const std::vector<std::string> &titles);
/// A row of label and input for each field.
void fieldRows(Engine &engine, Cgi &cgi, ui::Table &table, std::span<const Field> fields,
               const Place &place);
/// What every submission about a record carries: the record, and what it was opened as.
void hiddenRecord(Engine &engine, Cgi &cgi, ui::Form &form, unsigned record, bool submitted);

/// A menu of types on the left and, on the right, the panel of each; only the chosen one is seen. A
/// panel is the block <type>_<menu>_div.
struct TypeMenu {
    const char *menu;   ///< "check" or "action"
    std::string name;   ///< field of the chosen type
    std::string chosen; ///< a type's name, or ""
    const char *none;   ///< shown while there is none
    std::vector<const Type *> types;
};
void typeMenuRow(Engine &engine, Cgi &cgi, ui::Table &table, const TypeMenu &menu,
                 const Place &place);

/// One for each of `count` auto-responses in their order, from /var/run/autoresponse.status
/// (docs/autoresponse.md). What it does not name is "Normal".
std::vector<Report> readReports(unsigned count);

} // namespace zandorin::autoresponse
