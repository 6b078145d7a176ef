#pragma once

#include "settings/page.h"

#include <span>
#include <string>
#include <string_view>

namespace zandorin::settings {

/// Null when there is none of that name.
const Variant *findVariant(std::span<const Variant> variants, std::string_view name);

/// False for a variant that this appliance can not have.
bool isOffered(const Variant &variant, const ConfigManager &config);

/// Deletes what is stored of every variant but one, for the record at `key`.
void clearVariants(ConfigManager &config, std::span<const Variant> variants,
                   std::string_view except, const std::string &key);

} // namespace zandorin::settings
