#pragma once

#include "forms/autoresponse_fields.h"

#include <span>
#include <string>

namespace zandorin::ui {
class Table;
}

// What every auto-response has besides its check, and what is worked out from a check's settings.

namespace zandorin::autoresponse {

/// Name, resetting and repeating of one auto-response.
std::span<const Field> generalFields();
/// What holds for all of them together.
std::span<const Field> globalFields();

/// The daily times in which an auto-response is active, as one row of a table: for each day from
/// and to, hours and minutes.
void declareTimes(Engine &engine, const Place &place);
/// Adds an error for each day whose times are incomplete, no times of day, or end before they
/// begin.
void checkTimes(Cgi &cgi, const Place &place);
void storeTimes(Engine &engine, Cgi &cgi, const Place &place);
void timesRow(Engine &engine, Cgi &cgi, ui::Table &table, const Place &place);

/// Limits that are typed in several units. From the stored unit keys of the check of that name this
/// stores each limit as a whole in its smallest unit (".amount"), and which units it was given in
/// (".display_<unit>"). Those of every other check are deleted.
void storeAmounts(ConfigManager &config, const std::string &check, const std::string &keys);
/// The limits of a check as one text, such as "5 MB in 1 d"; "" when it has none.
std::string shownAmounts(const ConfigManager &config, const std::string &check,
                         const std::string &keys);

} // namespace zandorin::autoresponse
