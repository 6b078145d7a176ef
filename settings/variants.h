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

/// The variant of the record at `key`; null when it is none that is known.
const Variant *storedVariant(const ConfigManager &config, const List &list, const std::string &key);
/// Its title; raw, the stored name of one that is not known.
std::string variantTitle(const ConfigManager &config, const List &list, const std::string &key);
/// What the record at `key` is about in the words of the page, see Variant::subject; raw.
std::string variantSubject(const ConfigManager &config, const List &list, const std::string &key);

/// Deletes what is stored of every variant but one, for the record at `key`.
void clearVariants(ConfigManager &config, std::span<const Variant> variants,
                   std::string_view except, const std::string &key);

} // namespace zandorin::settings
