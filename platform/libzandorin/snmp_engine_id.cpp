#include "platform/libzandorin/snmp_engine_id.h"

#include "platform/libzandorin/config_manager.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/process_pipe.h"

#include <fstream>
#include <string_view>

#include <sys/stat.h>

namespace zandorin {

namespace {

/// The rest of the first line that starts with `prefix`.
std::string lineAfter(const std::string &path, std::string_view prefix) {
    std::ifstream file(appliancePath(path));
    if (!file)
        logRecord(Priority::debug, "Could not open file: %s", path.c_str());
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(prefix))
            return line.substr(prefix.size());
    return "";
}

std::string managerEngineId() {
    constexpr const char *path = "/var/run/snmpd/snmpapp.conf";
    struct stat status = {};
    if (::stat(appliancePath(path).c_str(), &status) != 0) {
        ipipestream generate("/bin/bash " + appliancePath("/etc/scripts/initsnmpappconf"), 5000);
        if (!generate.success(5000))
            logRecord(Priority::error, "Failed to generate snmpapp.conf");
    }
    return lineAfter(path, "oldEngineID ");
}

} // namespace

std::string snmpEngineId(const ConfigManager &config, const std::string &key) {
    if (!config.getElement(key).empty())
        return "";
    if (key == "config.services.snmp.engineid")
        return lineAfter("/var/run/snmpd/snmpd.conf", "oldEngineID ");
    return key.starts_with("config.system.snmp.engineid") ? managerEngineId() : "";
}

} // namespace zandorin
