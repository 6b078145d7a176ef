#pragma once

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/xml_image.h"

#include <string_view>
#include <vector>

namespace zandorin::platform {

/// The values at and below any of `keys` (keys of the store) in which two configurations differ,
/// each once, in the order of their keys.
std::vector<ConfigChange> differences(const XmlImage &before, const XmlImage &after,
                                      const std::vector<std::string_view> &keys);

} // namespace zandorin::platform
