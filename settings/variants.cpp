#include "settings/variants.h"

#include "platform/libzandorin/config_manager.h"

#include "settings/values.h"

#include <algorithm>

namespace zandorin::settings {

const Variant *findVariant(std::span<const Variant> variants, std::string_view name) {
    const auto found = std::find_if(variants.begin(), variants.end(),
                                    [&](const Variant &variant) { return variant.name == name; });
    return found == variants.end() ? nullptr : &*found;
}

bool isOffered(const Variant &variant, const ConfigManager &config) {
    return variant.offered == nullptr || variant.offered(config);
}

const Variant *storedVariant(const ConfigManager &config, const List &list,
                             const std::string &key) {
    return findVariant(list.variants, config.getElement(key + list.variantKey));
}

std::string variantTitle(const ConfigManager &config, const List &list, const std::string &key) {
    const Variant *variant = storedVariant(config, list, key);
    return variant == nullptr ? config.getElement(key + list.variantKey) : variant->title;
}

std::string variantSubject(const ConfigManager &config, const List &list, const std::string &key) {
    const Variant *variant = storedVariant(config, list, key);
    if (variant == nullptr || *variant->subject == '\0')
        return "";
    Values values(config, nullptr, {.names = key, .keys = key});
    values.add(variant->fields);
    const Value *value = values.find(variant->subject);
    return value == nullptr ? "" : storedWords(*value);
}

void clearVariants(ConfigManager &config, std::span<const Variant> variants,
                   std::string_view except, const std::string &key) {
    for (const Variant &variant : variants)
        if (variant.name != except)
            for (const Field &field : variant.fields)
                config.delElement(key + field.key);
}

} // namespace zandorin::settings
