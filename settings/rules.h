#pragma once

#include "settings/problems.h"
#include "settings/values.h"

#include <string>

namespace zandorin::settings {

/// Adds a problem for each rule of the table that the values break: choices, limits,
/// confirmations and what is required, field by field, then the rule across fields (null for none).
/// The types of the values are another check's (see settings/form_check.h).
void checkRules(const Values &values, Rule rule, Problems &problems);

/// The same for one value that is being typed: what the field's limits and its own test say of it.
/// `value` is not empty; of a password its length is looked at.
void checkLimits(const Field &field, const std::string &name, const std::string &value,
                 Problems &problems);

} // namespace zandorin::settings
