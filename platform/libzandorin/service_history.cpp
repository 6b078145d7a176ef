#include "platform/libzandorin/service_history.h"

#include "util/files.h"
#include "util/paths.h"
#include "util/strings.h"

namespace zandorin {

namespace {

std::string pathOf(const std::string &name) {
    return appliancePath("/var/run/services/" + name);
}

} // namespace

ServiceHistory serviceHistory(const std::string &name) {
    constexpr std::size_t limit = std::size_t{64} * 1024;
    const std::string text = readFile(pathOf(name), limit).value_or("");
    const auto first = text.find('\n');
    const auto second = first == std::string::npos ? first : text.find('\n', first + 1);
    if (second == std::string::npos)
        return {};
    return {.changed = leadingNumber(text),
            .refused = leadingNumber(std::string_view(text).substr(first + 1)),
            .words = text.substr(second + 1)};
}

bool keepServiceHistory(const std::string &name, const ServiceHistory &history) {
    constexpr mode_t folder = 0755;
    constexpr mode_t own = 0600;
    makeFolder(appliancePath("/var/run/services"), folder);
    return replaceFile(pathOf(name),
                       std::to_string(history.changed) + "\n" + std::to_string(history.refused) +
                           "\n" + history.words,
                       own, Durable::no);
}

} // namespace zandorin
