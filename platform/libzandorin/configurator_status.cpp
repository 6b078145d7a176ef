#include "platform/libzandorin/configurator_status.h"

#include "platform/libzandorin/configurator.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace zandorin {

namespace {

constexpr const char *status_path = "/var/run/configurators.status";
constexpr std::array<std::string_view, 4> states = {"waiting", "running", "done", "failed"};

std::optional<ConfiguratorState> parseLine(std::string_view line) {
    const auto words = utilities::split(std::string(line), " ");
    if (words.size() != 4 || std::find(states.begin(), states.end(), words[0]) == states.end() ||
        !platform::isConfiguratorName(words[3]))
        return std::nullopt;
    const auto started = parseWhole(words[1]);
    const auto ended = parseWhole(words[2]);
    if (!started || !ended)
        return std::nullopt;
    return ConfiguratorState{words[3], words[0], static_cast<std::time_t>(*started),
                             static_cast<std::time_t>(*ended)};
}

} // namespace

std::vector<ConfiguratorState> readConfiguratorStatus() {
    constexpr std::size_t longest = std::size_t{64} * 1024;
    std::vector<ConfiguratorState> run;
    const auto text = readFile(appliancePath(status_path), longest);
    for (const std::string &line : utilities::split(text.value_or(""), "\n"))
        if (auto state = parseLine(line))
            run.push_back(std::move(*state));
    return run;
}

ConfiguratorStatus::ConfiguratorStatus(const std::vector<std::string> &names) {
    for (const std::string &name : names)
        run_.push_back({.name = name});
}

std::time_t ConfiguratorStatus::started() {
    ConfiguratorState &entry = run_.at(next_);
    entry.state = "running";
    entry.started = std::time(nullptr);
    write();
    return entry.started;
}

std::time_t ConfiguratorStatus::ended(bool done) {
    ConfiguratorState &entry = run_.at(next_++);
    entry.state = done ? "done" : "failed";
    entry.ended = std::time(nullptr);
    // Before the next one the file is written anyway.
    if (next_ == run_.size())
        write();
    return entry.ended;
}

void ConfiguratorStatus::write() const {
    std::string lines;
    for (const ConfiguratorState &entry : run_)
        lines += entry.state + " " + std::to_string(entry.started) + " " +
                 std::to_string(entry.ended) + " " + entry.name + "\n";
    if (!replaceFile(appliancePath(status_path), lines, 0600, Durable::no))
        logRecord(Priority::error, "Failed to write: %s: %s", status_path, std::strerror(errno));
}

} // namespace zandorin
