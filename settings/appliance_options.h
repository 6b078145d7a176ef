#pragma once

#include "settings/page.h"

// Choices that several pages offer.

namespace zandorin::settings {

/// The serial ports by number.
std::vector<Option> portOptions(const ConfigManager &config, const std::string &place);
/// The power outlets by number.
std::vector<Option> outletOptions(const ConfigManager &config, const std::string &place);

} // namespace zandorin::settings
