#pragma once

#include <string>
#include <vector>

namespace zandorin {

class ConfigManager;

/// Which serial ports somebody may use: an administrator (role "admin") every one, who has the role
/// "ports" those that the user's record or one of the user's groups is given (`.port<n>`). Nobody
/// else any, whatever the record says. A disabled user has none.
class PortAccess {
  public:
    /// Looks everything up once; keeps a reference to `config`.
    PortAccess(const ConfigManager &config, const std::string &user);

    bool mayUse(unsigned port) const;
    /// An administrator.
    bool mayUseAll() const { return all_; }

  private:
    const ConfigManager &config_;
    bool all_ = false;
    std::vector<std::string> keys_; ///< records of the user and of the user's groups
};

/// The same for one question.
inline bool mayUsePort(const ConfigManager &config, const std::string &user, unsigned port) {
    return PortAccess(config, user).mayUse(port);
}

} // namespace zandorin
