#pragma once

#include <cstdlib>
#include <string_view>

namespace zandorin {

/// The value of an environment variable, "" when it is not set. It stands as long as nobody changes
/// the environment.
inline std::string_view environmentVariable(const char *name) {
    const char *value = std::getenv(name);
    return value == nullptr ? std::string_view() : value;
}

} // namespace zandorin
