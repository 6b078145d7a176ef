#pragma once

#include "platform/ports/port_settings.h"
#include "platform/ports/port_status.h"

#include <optional>
#include <string>
#include <vector>

// What pages say of a serial port, raw text.

namespace zandorin::ui {

/// Said where nothing is known of the ports' states.
inline constexpr const char *no_port_service =
    "The port service does not answer: states and users of the ports are not known now.";

/// Such as "up", or what the port is used for where it is no console; `state` may be null.
std::string stateWords(const PortSettings &port, const PortState *state);

/// Who is on the port, such as "anna writes, bert watches"; "" for nobody.
std::string usersOf(const PortState &state);

} // namespace zandorin::ui
