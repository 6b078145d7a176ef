#pragma once

#include "settings/values.h"

#include <string>

namespace zandorin {
class Engine;
}

namespace zandorin::ui {

/// What was submitted of a field of lines (settings::Input::lines): those typed into its area, and
/// those of a file in its field <name>.file, without blanks around them; empty ones and those that
/// begin with "#" are left out. Adds an error to the request for the first line that does not fit
/// the field's type, and for a file that cannot be taken; `file` is the field of that, or null.
std::string submittedLines(Engine &engine, const settings::Value &value,
                           const settings::Field *file);

} // namespace zandorin::ui
