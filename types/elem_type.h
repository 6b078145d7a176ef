#pragma once

#include "util/registry.h"

#include <string>

namespace zandorin {

/// A kind of value that a form accepts.
struct FormElemType {
    std::string description; ///< names the type in messages
    bool (*validator)(const std::string &value);
    bool allowMarkup; ///< a value that encode_safe would change may reach the validator
};

/// Born with the console's own types. No static object registers them: most requests look up none,
/// and would pay for all of them; and a linker leaves out of an archive what nobody calls.
struct ElemTypes : NameTable<FormElemType> {
    ElemTypes();
};

using ElemTypeRegistry = Registry<FormElemType, ElemTypes>;

} // namespace zandorin
