#pragma once

#include <string>
#include <vector>

namespace zandorin {

class ConfigManager;

/// Which serial ports a user may use, by every road: pages, terminals, SSH and the network. An
/// administrator may use all of them; who has the role "ports", those that the user's record or
/// that of one of the user's groups names (".port<n>"); who is disabled, or is not there, none.
class PortAccess {
  public:
    /// `config` must outlive this.
    PortAccess(const ConfigManager &config, const std::string &user);
    bool has(unsigned number) const;

  private:
    const ConfigManager &config_;
    bool all_;
    std::vector<std::string> keys_; ///< records that may name ports
};

/// The same for one question.
bool mayUsePort(const ConfigManager &config, const std::string &user, unsigned number);

} // namespace zandorin
