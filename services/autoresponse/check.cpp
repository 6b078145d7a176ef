#include "services/autoresponse/check.h"

#include "platform/libzandorin/serial_ports.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin::responder {

const std::optional<std::vector<PortState>> &Sources::portStates() {
    const auto now = std::chrono::steady_clock::now();
    if (now - asked >= std::chrono::seconds(1)) {
        ports = zandorin::portStates();
        asked = now;
    }
    return ports;
}

std::unique_ptr<Check> makeCheck(Sources &sources, const std::string &key) {
    const std::string &name = sources.settings.get(key + ".check_type");
    for (const auto types : {portChecks(), networkChecks(), deviceChecks(), eventChecks()})
        for (const CheckType &type : types)
            if (type.name == name)
                return type.make(sources, key);
    return nullptr;
}

std::string sentence(const Reading &reading) {
    using Kind = Reading::Kind;
    std::string text;
    for (const std::string &word : {reading.what.subject, reading.what.value, reading.what.user})
        text += (word.empty() || text.empty() ? "" : ", ") + word;
    switch (reading.kind) {
    case Kind::failed:
        return "It cannot be read: " + text + ".";
    case Kind::yes:
        return text + ": the condition holds.";
    case Kind::no:
        return text + ": the condition does not hold.";
    default:
        return text + ".";
    }
}

unsigned portNumber(std::string_view key) {
    constexpr std::string_view before = "config.ports.port";
    return key.starts_with(before) ? static_cast<unsigned>(std::max<std::int64_t>(
                                         leadingNumber(key.substr(before.size())), 0))
                                   : 0;
}

std::string portLabel(const Settings &settings, unsigned port) {
    const std::string &label = settings.get(portReference(port) + ".label");
    return label.empty() ? "Port " + std::to_string(port) : label;
}

std::string interfaceRole(const std::string &reference) {
    constexpr std::string_view before = "config.interfaces.";
    return reference.starts_with(before) ? reference.substr(before.size()) : "";
}

std::string networkDevice(const Settings &settings, const std::string &role) {
    return settings.get("config.interfaces." + role + ".device");
}

std::optional<std::string> firstLine(const std::string &path) {
    constexpr std::size_t most = 4096; // a page of sysfs
    const auto text = readFile(appliancePath(path), most);
    return text ? std::optional(std::string(trim(text->substr(0, text->find('\n')))))
                : std::nullopt;
}

} // namespace zandorin::responder
