#pragma once

#include "services/autoresponse/child.h"
#include "services/autoresponse/engine.h"
#include "services/autoresponse/rule_file.h"

#include <string>

namespace zandorin::responder {

/// What starting an action comes to: a program to be run, whose end says whether it was done, or
/// something that is done, or has failed, at once.
struct Act {
    Command command = {};     ///< no words: nothing is to be run
    std::string failure = ""; ///< of what was done at once; "" when it was
};

/// Where the actions of a rule are:
/// "config.autoresponse.autoresponse<N>.trigger_actions.action<M>".
std::string actionKey(std::size_t rule, List list, std::size_t action);

/// Its name, or its type and number; raw.
std::string actionName(const Settings &settings, const std::string &key);

/// Starts the action at `key`; `event` is what has happened, as a sentence.
Act act(const Settings &settings, const std::string &key, const std::string &event);

} // namespace zandorin::responder
