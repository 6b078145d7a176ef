#pragma once

#include <string>
#include <utility>

namespace zandorin::settings {

/// A choice of a menu, of radio buttons or of a row of boxes, as it is offered: one of a page's
/// table, or of this appliance's own. Texts are raw.
struct Option {
    Option(std::string both) : value(both), label(std::move(both)) {}
    Option(const char *both) : Option(std::string(both)) {}
    Option(std::string valueText, std::string labelText, std::string groupLabel = "")
        : value(std::move(valueText)), label(std::move(labelText)), group(std::move(groupLabel)) {}

    std::string value;
    std::string label;
    std::string group;      ///< options of one group follow each other; "" for none
    std::string title = ""; ///< shown when the label of a box is pointed at
    bool fixed = false;     ///< of a box: ticked whatever is stored, and not to be changed
    std::string box = "";   ///< ends the name of its box in a form; "": the value does
    bool offered = true;    ///< false for what is stored and no choice any more

    const std::string &boxName() const { return box.empty() ? value : box; }
};

} // namespace zandorin::settings
