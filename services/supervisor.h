#pragma once

#include "platform/libzandorin/service_state.h"

#include <string>

// runit, the supervisor of the services: runsvdir(8) watches /var/service, where each service that
// is on has a link to its folder /etc/service/<name>; runsv(8) keeps its script `run` running.

namespace zandorin::services {

/// Has the supervisor know it, whether it is to run or not. It looks for new ones every five
/// seconds. False when the link could not be made.
bool introduce(const std::string &name);

/// Has the supervisor run it, or end it. One that it does not know yet it finds at its next look;
/// one that was ended it keeps, with its file `down`. False when the link or that file could not be
/// made.
bool enable(const std::string &name);
bool disable(const std::string &name);

/// Ends the process, which the supervisor then starts again with what the files say by now.
bool restart(const std::string &name);
/// Sends the process a signal. False when there is none.
bool signalService(const std::string &name, int signal);

} // namespace zandorin::services
