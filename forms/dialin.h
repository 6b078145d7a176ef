#pragma once

#include <string>

namespace zandorin {

class Engine;

/// The port that the page "dialin" edits, below whose key "config.<name>.ppp" its settings are: the
/// request variable "port", else the leaf's args, else "console". As a request may name anything,
/// ask isDialinPort, and escape it where it is shown.
std::string dialinPort(Engine &engine);

/// "console", or "port1" up to the number of serial ports.
bool isDialinPort(Engine &engine, const std::string &name);

} // namespace zandorin
