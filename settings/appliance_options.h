#pragma once

#include "settings/devices.h"
#include "settings/page.h"

// Choices, and fields of them, that several pages offer.

namespace zandorin::settings {

/// The serial ports by number.
std::vector<Option> portNumbers(const ConfigManager &config, const std::string &place);
// The fields of boxes that give somebody ports or outlets.
constexpr Field portBoxes(const char *help) {
    return {.label = "Serial Ports",
            .key = ".port",
            .type = "boolean",
            .input = Input::flags,
            .options = portNumbers,
            .help = help,
            .grid = true};
}
constexpr Field outletBoxes() {
    return {.label = "Power Outlets",
            .key = granted_outlets,
            .input = Input::set,
            .options = outletOptions,
            .word = outlet_word};
}

/// The groups, built-in ones first, with what they are for.
std::vector<Option> groupOptions(const ConfigManager &config, const std::string &place);
/// All roles, for the group at `group`: what it has without a record of it cannot be taken from it.
std::vector<Option> roleOptions(const ConfigManager &config, const std::string &group);
/// The names of the roles that the group at that key gives.
std::string rolesOfGroup(const ConfigManager &config, const std::string &group);

} // namespace zandorin::settings
