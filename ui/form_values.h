#pragma once

#include <string>

namespace zandorin {
class Engine;
}

namespace zandorin::ui {

/// True when the page shows a submission again because it was refused: inputs then show what the
/// user typed, so that nothing is lost.
bool showsSubmission(Engine &engine);

/// The stored value of a configuration key, raw; of a password the placeholder when one is stored.
std::string storedValue(Engine &engine, const std::string &name);

/// The raw value that an input for this configuration key shows: the submitted one when the page
/// shows a refused submission that the field belongs to (it was sent, or is declared), else the
/// stored one. `maxlength` is the input's; below 1 a submitted value is read as far as its element
/// takes it, up to 255 bytes without one.
std::string shownValue(Engine &engine, const std::string &name, int maxlength = 0);

/// The same for a check box: submitted and not empty, or stored and true.
bool shownChecked(Engine &engine, const std::string &name);

} // namespace zandorin::ui
