#include "settings/variants.h"

#include "platform/libzandorin/config_manager.h"

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

void clearVariants(ConfigManager &config, std::span<const Variant> variants,
                   std::string_view except, const std::string &key) {
    for (const Variant &variant : variants)
        if (variant.name != except)
            for (const Field &field : variant.fields)
                config.delElement(key + field.key);
}

} // namespace zandorin::settings
