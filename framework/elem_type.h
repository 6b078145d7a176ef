#pragma once

#include "framework/registry.h"

#include <string>

namespace zandorin {

/// A kind of value that a form accepts.
struct FormElemType {
    std::string description; ///< names the type in messages
    bool (*validator)(const std::string &value);
    bool allowMarkup; ///< a value that encode_safe would change may reach the validator
};

using ElemTypeRegistry = Registry<FormElemType>;

} // namespace zandorin
