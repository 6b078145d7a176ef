#include "platform/libzandorin/config_manager.h"
#include "services/service.h"

#include <cstdint>

// The time zone of every program: /etc/localtime, which the C library looks at whenever it is asked
// for local time.

namespace zandorin::services {
namespace {

std::string bigEndian(std::uint64_t number, int bytes) {
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        text += static_cast<char>((number >> static_cast<unsigned>(shift)) & 0xffU);
    return text;
}

/// One of the two blocks of a file of version 2 (RFC 8536, 3.1 and 3.2): UTC, since `transitions`
/// instants at the beginning of time. The C library reads the rule only behind one of them.
std::string block(unsigned transitions, int timeBytes) {
    constexpr std::uint64_t beginning = 0xf800000000000000U; // -2^59 seconds
    std::string text = "TZif2" + std::string(15, '\0');
    // Local time types and characters of their names are the last two of six counts.
    for (const unsigned count : {0U, 0U, 0U, transitions, 1U, 4U})
        text += bigEndian(count, 4);
    for (unsigned i = 0; i < transitions; ++i)
        text += bigEndian(beginning, timeBytes);
    text.append(transitions, '\0'); // their type: the first one
    text.append(6, '\0');           // offset, no summer time, where its name begins
    return text + "UTC" + '\0';
}

std::vector<File> files(const ConfigManager &config) {
    constexpr mode_t readable = 0644;
    const std::string rule = config.getElement("config.system.timezone");
    return {{.path = "/etc/localtime",
             .text = block(0, 4) + block(1, 8) + "\n" +
                     (rule.empty() || rule.find('\n') != std::string::npos ? "UTC0" : rule) + "\n",
             .mode = readable}};
}

} // namespace

extern const Service timezone = {
    .name = "timezone", .pages = "time", .files = files, .isMachines = true};

} // namespace zandorin::services
