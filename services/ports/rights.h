#pragma once

#include "platform/libzandorin/config_manager.h"
#include "services/ports/terminal.h"

#include <string>

#include <sys/types.h>

namespace zandorin::ports {

/// Who may have which terminal, by the configuration as it is by now.
class Rights {
  public:
    Rights();

    /// Reads the configuration again when its file is another one. True when it did.
    bool refresh();
    const ConfigManager &config() const { return config_; }

    /// Why `grant` is refused, as a sentence for its user; "" when it is not. Fills in what follows
    /// from its target.
    std::string refusal(Grant &grant) const;

  private:
    ConfigManager config_;
    std::string stamp_;
};

/// True while the session is there and its user is logged in.
bool isLive(const Grant &grant);

/// True when a process with this user id may speak for the account: it is its own, root's or this
/// service's.
bool maySpeakFor(uid_t uid, const std::string &user);

} // namespace zandorin::ports
