#include "platform/libzandorin/config_manager.h"
#include "util/exception.h"
#include "util/log.h"

#include <cstdio>
#include <string>
#include <string_view>

// zandorin-config: the committed configuration for shell scripts. docs/configuration-store.md tells
// how it is used.

namespace {

constexpr int failure = 1;
constexpr int misuse = 2;

int complain(const std::string &message, int status) {
    std::fprintf(stderr, "zandorin-config: %s\n", message.c_str());
    return status;
}

int get(const zandorin::ConfigManager &config, std::string_view key) {
    const std::string value = config.getElement(key);
    if (value.empty())
        return failure;
    return std::printf("%s\n", value.c_str()) < 0 || std::fflush(stdout) != 0 ? failure : 0;
}

int set(zandorin::ConfigManager &config, std::string_view key, std::string_view value) {
    config.setElement(key, value);
    return config.write() ? 0 : complain("the configuration could not be written", failure);
}

} // namespace

int main(int argc, char **argv) {
    const std::string_view command = argc > 1 ? argv[1] : "";
    const bool sets = command == "set" && argc == 4;
    if (!sets && !((command == "get" || command == "is") && argc == 3))
        return complain("usage: get KEY | is KEY | set KEY VALUE", misuse);
    zandorin::openLog("zandorin-config");
    try {
        zandorin::ConfigManager config("/etc/config/config.xml", ".");
        if (!config.readCommitted())
            return complain("the configuration could not be read", failure);
        if (sets)
            return set(config, argv[2], argv[3]);
        if (command == "is")
            return config.getBoolean(argv[2]) ? 0 : failure;
        return get(config, argv[2]);
    } catch (const zandorin::utilities::Exception &fault) {
        return complain(fault.toString(), failure);
    }
}
