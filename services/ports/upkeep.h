#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace zandorin {
class ConfigManager;
struct PortSettings;
} // namespace zandorin

namespace zandorin::ports {

/// What has to be looked at now and then, since conserver does so only every few minutes: a log
/// that has grown too large becomes the older one; a device that has come back is opened again;
/// what is to be in the system's log, too, is put there.
class Upkeep {
  public:
    /// Looks once. `config` may be another one each time.
    void look(const ConfigManager &config);

  private:
    struct Known {
        std::string device;       ///< says which file the device was
        std::uint64_t logged = 0; ///< bytes of the log that were put into the system's
    };

    static bool rotate(const PortSettings &port);
    static void copyToSyslog(const PortSettings &port, Known &known);

    std::map<unsigned, Known> known_;
};

} // namespace zandorin::ports
