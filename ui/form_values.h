#pragma once

#include <string>

namespace zandorin {
class Engine;
}

namespace zandorin::ui {

/// True when the page shows a submission again because it was refused: inputs then show what the
/// user typed, so that nothing is lost.
bool showsSubmission(Engine &engine);

/// The raw value that an input for this configuration key shows: the submitted one when the page
/// shows a refused submission that the field belongs to (it was sent, or is declared), else the
/// stored one. `maxlength` is the input's; below 1 submitted
/// values are read up to 255 bytes.
std::string shownValue(Engine &engine, const std::string &name, int maxlength = 0);

/// The same for a check box: submitted and not empty, or stored and true.
bool shownChecked(Engine &engine, const std::string &name);

} // namespace zandorin::ui
