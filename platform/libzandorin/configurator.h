#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace zandorin::platform {

/// True for letters, digits, ".", "_" and "-", not beginning with ".".
bool isConfiguratorName(std::string_view name);

/// True when the configurator of that name is there and executable.
bool configuratorExists(const std::string &name);

/// Runs one configurator as ConfigManager::run says, `argument` being its one argument. One that
/// has not ended after `limit` is killed with all of its process group. False, and a log record,
/// when it could not be started or did not end with exit status 0.
bool runConfigurator(const std::string &name, const std::string &argument,
                     std::chrono::milliseconds limit);

} // namespace zandorin::platform
