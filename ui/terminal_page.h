#pragma once

#include <string>

namespace zandorin {
class Engine;
}

namespace zandorin::ui {

/// Writes the terminal of a target ("port3", "shell", "attic/port3") as the body of the page; page
/// script (rootfs/home/httpd/scripts/terminal.js) opens it. `watches`: it only shows what others
/// do. Whether the user may have it the port service decides, when it is opened. `title` is raw.
void showTerminal(Engine &engine, const std::string &target, const std::string &title,
                  bool watches);

} // namespace zandorin::ui
