#pragma once

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/xml_tree.h"

#include <vector>

namespace zandorin::platform {

/// The values in which two configurations differ, in the order of their keys; both are root
/// elements "config".
std::vector<ConfigChange> differences(const XmlNode &before, const XmlNode &after);

} // namespace zandorin::platform
