#pragma once

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/xml_image.h"

#include <string_view>
#include <vector>

namespace zandorin::platform {

/// The values at and below `key` (a key of the store) in which two configurations differ, in the
/// order of their keys.
std::vector<ConfigChange> differences(const XmlImage &before, const XmlImage &after,
                                      std::string_view key);

} // namespace zandorin::platform
