#pragma once

#include "forms/autoresponse_fields.h"

#include <string>

// What a request to the page asks for.

namespace zandorin::autoresponse {

struct Command {
    std::string name;      ///< the variable "action": "view" when there is none
    bool changes = false;  ///< came by POST; a link changes nothing
    bool select = false;   ///< a type was picked by button: the page is shown with its panel
    bool hasIndex = false; ///< an auto-response is meant
    unsigned index = 0;    ///< its number; 0 is a new one, or no number
    std::string list;      ///< "trigger" or "resolve" (or what was sent) when an action is meant
    unsigned action = 0;   ///< its number ("modify_index"); 0 is a new one, or no number

    /// <list>_new and <list>_save.
    bool isNewAction() const { return name.ends_with("_new"); }
    bool isSavedAction() const { return name.ends_with("_save"); }
};

Command readCommand(const Cgi &cgi);

/// The form field with the fingerprint of what its page was made from.
inline constexpr const char *opened_field = "opened";

/// The field with the type of an action; `list` is "trigger" or "resolve".
std::string actionTypeField(const std::string &list);
/// Where in its list an action is to stand; a field of its panel that is not stored.
inline constexpr const char *position_key = "position";

/// Fields and keys of an auto-response; 0 is the new one after the last.
Place recordPlace(const ConfigManager &config, unsigned index);
/// Fields and keys of the action that the command means.
Place actionPlace(const ConfigManager &config, const Command &command);
/// The settings of all auto-responses together.
Place globalPlace();

inline constexpr const char *no_such_action =
    "There is no such action any more. Nothing was changed.";
/// False, with an error and a log record, when a list of `total` actions has no such action.
bool checkActionIndex(Cgi &cgi, unsigned action, unsigned total);

/// Carries out what was submitted: afterwards the store holds the changes, to be written by the
/// engine, or the request has errors and the store is as it was.
void carryOut(Engine &engine, Cgi &cgi, const Command &command);

} // namespace zandorin::autoresponse
