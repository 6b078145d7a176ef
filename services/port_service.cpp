#include "platform/libzandorin/config_manager.h"
#include "services/service.h"
#include "util/paths.h"
#include "util/strings.h"

#include <unistd.h>

// Our own service of the terminals and of the ports' states (services/ports). It reads the
// configuration by itself.

namespace zandorin::services {
namespace {

std::vector<File> files(const ConfigManager & /*config*/) {
    return {};
}

std::string run(const ConfigManager & /*config*/) {
    return "exec " + shellQuote(appliancePath("/bin/port-service")) + "\n";
}

bool isHealthy(const ConfigManager & /*config*/) {
    return ::access(appliancePath("/var/run/ports.sock").c_str(), F_OK) == 0;
}

} // namespace

extern const Service port_service = {.name = "port-service",
                                     .pages = "serialconfig",
                                     .files = files,
                                     .run = run,
                                     .isHealthy = isHealthy};

} // namespace zandorin::services
