#include "services/autoresponse/check.h"

#include "util/files.h"
#include "util/paths.h"
#include "util/strings.h"

namespace zandorin::responder {

const std::vector<PortState> *Sources::portStates() {
    const auto now = std::chrono::steady_clock::now();
    if (now - asked >= std::chrono::seconds(1)) {
        ports = zandorin::portStates();
        asked = now;
    }
    return ports ? &*ports : nullptr;
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
