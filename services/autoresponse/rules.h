#pragma once

#include "services/autoresponse/engine.h"
#include "services/autoresponse/rule_file.h"

#include <vector>

namespace zandorin::responder {

/// "config.autoresponse.autoresponse<N>" of the rule with this index, from 0 on.
std::string ruleKey(std::size_t rule);

/// All rules by their numbers; one that is not there has no name and no check.
std::vector<Rule> readRules(const Settings &settings);

} // namespace zandorin::responder
