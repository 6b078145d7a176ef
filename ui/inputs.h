#pragma once

#include "settings/option.h"
#include "settings/submission.h"

#include <string>
#include <vector>

// Markup of inputs. Names, values and labels are raw text and are escaped here; scripts are the
// page author's own and hold no double quote. An empty script means none.

namespace zandorin::ui {

using settings::password_placeholder;

using settings::Option;

struct TextInput {
    std::string name;
    std::string value = "";
    std::string type = "text"; ///< "password" shows the placeholder in place of any value
    int maxlength = 0;         ///< characters; below 1 is none
    int size = 25;
    bool allowAutocomplete = true;
    /// The value may well hold markup; without this, one that does is logged as unsafe (never a
    /// password's). It is escaped either way.
    bool unsafe = false;
    std::string placeholder = "";
    std::vector<Option> suggestions = {}; ///< what a browser offers to take instead of typing
};
std::string textInput(const TextInput &input);

/// rows and cols below 1 are left out.
std::string textAreaInput(const std::string &name, const std::string &value, int rows = 0,
                          int cols = 0);

std::string menuInput(const std::string &name, const std::vector<Option> &options,
                      const std::string &selected, const std::string &onChange = "");
/// A menu of the whole numbers from `from` to `to`.
std::string menuInputNumRange(const std::string &name, int from, int to, int selected,
                              const std::string &onChange = "");
std::string radioInput(const std::string &name, const std::vector<Option> &options,
                       const std::string &selected, const std::string &onClick = "");
/// Posts "on".
std::string checkInput(const std::string &name, bool checked, bool disabled = false,
                       const std::string &onClick = "");

std::string getApplyButton(const std::string &name = "apply", const std::string &label = "Apply",
                           const std::string &onClick = "", bool disabled = false);
/// A button that does nothing but its script.
std::string button(const std::string &name, const std::string &label,
                   const std::string &onClick = "", bool disabled = false);

/// Moves the text of a field into a list / the chosen entries out of it. Both are JavaScript
/// expressions for the elements.
std::string getAddListButton(const std::string &listName, const std::string &fieldName);
std::string getDelListButton(const std::string &listName);

/// One serial port of getPortCheckboxes.
struct PortChoice {
    unsigned number; ///< from 1
    std::string label;
    bool checked = false;
    bool available = true; ///< otherwise "N/A" stands in its place
};
/// A box for all ports, then one a port, named <prefix><number>, eight in a row.
std::string getPortCheckboxes(const std::string &prefix, const std::vector<PortChoice> &ports);

/// Which kind of managed device a port has: None, ups, rpc or enviro.
std::string getDeviceMenu(const std::string &name, const std::string &current,
                          const std::string &onChange = "");

/// One type of power device.
struct PowerType {
    std::string name;
    unsigned outlets = 0; ///< 0 when the device says itself
};
std::string getPowerMenu(const std::string &name, const std::vector<PowerType> &types,
                         const std::string &current, const std::string &onChange = "");

} // namespace zandorin::ui
