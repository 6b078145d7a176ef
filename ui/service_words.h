#pragma once

#include <string_view>

namespace zandorin {
class Cgi;
}

namespace zandorin::ui {

/// Writes, for each of these services (names separated by blanks) that did not take its last
/// settings, what its daemon said to them, and for one that belongs to the machine that it was not
/// applied below this appliance root.
void showRefusals(Cgi &cgi, std::string_view services);

} // namespace zandorin::ui
