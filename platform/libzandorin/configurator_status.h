#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the configurators are doing, for whoever wants to watch: the file
// /var/run/configurators.status, replaced whole at every step of ConfigManager::run. One line a
// configurator of the last run, in the order they run:
//
//     line  = state " " started " " ended " " name LF
//     state = "waiting" / "running" / "done" / "failed"
//
// The times are seconds since the epoch, 0 when not reached yet. Readers bear with anything else.

namespace zandorin {

struct ConfiguratorState {
    std::string name;
    std::string state = "waiting";
    std::time_t started = 0;
    std::time_t ended = 0;
};

/// The last run, empty when there was none since the system started.
std::vector<ConfiguratorState> readConfiguratorStatus();

/// One run being told. The file is a help to users, not a promise: when it cannot be written the
/// run goes on, with a log record.
class ConfiguratorStatus {
  public:
    explicit ConfiguratorStatus(const std::vector<std::string> &names);

    /// The next configurator in order begins; answers when.
    std::time_t started();
    /// The one that began last has ended; answers when.
    std::time_t ended(bool done);

  private:
    void write() const;

    std::vector<ConfiguratorState> run_;
    std::size_t next_ = 0;
};

} // namespace zandorin
