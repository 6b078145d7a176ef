#pragma once

#include <string>

// Inputs for values that may hold characters which a page cannot show back in an input without
// changing them: the stored value is shown beside, shortened, and the input takes a new one.

namespace zandorin::ui {

struct UnsafeInput {
    std::string name;
    std::string current = "";   ///< stored value, raw
    std::string submitted = ""; ///< what the user typed in a submission that was refused, raw
    bool offerDelete = true;    ///< with a box <name>.delete that clears the stored value
    int maxlength = 0;          ///< of the text input; below 1 is none
    bool secret = false;        ///< marked, so that no browser keeps what is typed in
};

/// A text input, its current value above it.
std::string unsafeTextInput(const UnsafeInput &input);

/// The same with a text area; rows and cols below 1 are left out.
std::string unsafeTextAreaInput(const UnsafeInput &input, int rows = 0, int cols = 0);

} // namespace zandorin::ui
