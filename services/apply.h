#pragma once

#include "services/service.h"

#include <cstdint>
#include <string>

// The road from what is stored to a daemon that does it. The new files are made beside the old
// ones, judged by the daemon's own checker, and put in their places together; then the daemon takes
// them. What it cannot live with is taken back. A journal beside the files says that this is under
// way: whoever finds one, after a kill or a power cut, takes the change back first.

namespace zandorin::services {

/// What became of a change.
enum class Outcome : std::uint8_t {
    unchanged, ///< the files say what is stored already; the daemon was left alone
    applied,
    elsewhere, ///< its files are in place; it is the machine's own, and this is another root
    off,       ///< the daemon is not needed and does not run
    refused,   ///< by its checker, or it did not come up: all is as it was before
    failed,    ///< files could not be written: all is as it was before
};

struct Result {
    Outcome outcome = Outcome::failed;
    std::string words = ""; ///< why not, in the daemon's own words; raw
};

/// Whether a daemon takes its files now, or is started with them later by who calls.
enum class Daemons : std::uint8_t { now, later };

/// Brings one service in line with the configuration; waits until its daemon answers, ten seconds
/// at most. Only one at a time for each service: others wait. Keeps the result for the pages, see
/// platform/libzandorin/service_state.h.
Result apply(const Service &service, const ConfigManager &config, Daemons daemons = Daemons::now);

} // namespace zandorin::services
