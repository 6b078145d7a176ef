#include "ui/template_functions.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "ui/inputs.h"
#include "util/escape.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <optional>

#include <sys/stat.h>
#include <unistd.h>

namespace zandorin::ui {

namespace {

constexpr std::size_t small_file = 65536;

/// What follows the first blank; none, that is "", when there is no blank or hardly anything
/// behind it.
std::string afterBlank(const std::string &text) {
    const auto blank = text.find(' ');
    return blank == std::string::npos || text.size() <= blank + 2 ? "" : text.substr(blank + 1);
}

/// What scanf's "%lf" reads first.
std::optional<double> firstNumber(const std::string &text) {
    char *end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    return end == text.c_str() ? std::nullopt : std::optional(number);
}

} // namespace

std::string getFirmwareVersion(Engine &engine, const Arguments &) {
    const std::string rest = afterBlank(afterBlank(engine.versionLine()));
    const auto blank = rest.find(' ');
    return blank == std::string::npos ? "Unknown" : encodeSafe(rest.substr(0, blank));
}

std::string getCurrentUser(Engine &engine, const Arguments &) {
    return engine.session().authSuccess() ? encodeSafe(engine.session().username()) : "";
}

std::string getTopStatusMenu(Engine &engine, const Arguments &) {
    if (!engine.session().authSuccess())
        return "";
    return "<b>System Name</b>: " + getSystemName(engine) + "&nbsp;&nbsp;\n" +
           "<b>Model</b>: " + getModel(engine) + "&nbsp;&nbsp\n" +
           "<b>Firmware</b>: " + getFirmwareVersion(engine) + "&nbsp;&nbsp<br>\n" +
           "<b>Uptime</b>: " + getUptime(engine) + "&nbsp;&nbsp\n" +
           "<b>Current User</b>: " + getCurrentUser(engine) + "&nbsp;&nbsp\n" + getFipsMode(engine);
}

std::string getModel(Engine &engine, const Arguments &) {
    const std::string stored = engine.config().getElement("config.system.model");
    if (!stored.empty())
        return encodeSafe(stored);
    const std::string &line = engine.versionLine();
    const auto slash = line.find('/');
    const auto blank = line.find(' ');
    // As unsigned positions, so that a missing blank counts as far away and a missing slash as
    // just before the start. The blank itself stays in the text.
    return blank > slash + 1 && !line.empty() && slash + 1 <= line.size()
               ? encodeSafe(line.substr(slash + 1, blank - slash))
               : "Unknown";
}

std::string getEnvValue(Engine &engine, const Arguments &arguments) {
    Cgi *cgi = engine.requireCgi();
    return cgi == nullptr || arguments[0].empty() ? "" : cgi->getVarString(arguments[0]).safe;
}

std::string getTime(Engine &, const Arguments &) {
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    std::array<char, 64> text = {};
    if (::localtime_r(&now, &parts) == nullptr)
        return "";
    return {text.data(), std::strftime(text.data(), text.size(), "%H:%M:%S %b %d, %Y\n", &parts)};
}

std::string getSystemName(Engine &engine, const Arguments &) {
    const std::string stored = engine.config().getElement("config.system.name");
    if (!stored.empty())
        return encodeSafe(stored);
    std::array<char, 128> host = {};
    return ::gethostname(host.data(), host.size() - 1) == 0 ? encodeSafe(host.data()) : "";
}

std::string getSystemPassword(Engine &, const Arguments &) {
    // Also when the store keeps passwords in clear: none ever reaches a page.
    return password_placeholder;
}

std::string getUptime(Engine &, const Arguments &) {
    const auto text = readFile(appliancePath("/proc/uptime"), small_file);
    if (!text)
        return "Unavailable";
    const auto seconds = firstNumber(*text);
    if (!seconds)
        return "/proc/uptime malformed";
    // Beyond a thousand years, or not a number at all: nothing to show.
    if (!(*seconds > 0.0 && *seconds < 3.2e10))
        return "Unavailable";
    const auto whole = static_cast<std::int64_t>(*seconds);
    return std::to_string(whole / 86400) + " days, " + std::to_string(whole % 86400 / 3600) +
           " hours, " + std::to_string(whole % 3600 / 60) + " mins, " + std::to_string(whole % 60) +
           " secs";
}

std::string getFipsMode(Engine &, const Arguments &) {
    return std::getenv("ZANDORIN_FIPS") != nullptr ? "<br/><b>FIPS mode:</b> Enabled" : "";
}

std::string getFipsModeChecked(Engine &, const Arguments &) {
    struct stat status = {};
    return ::stat(appliancePath("/etc/config/FIPS").c_str(), &status) == 0 ? "checked" : "";
}

std::string getMotd(Engine &, const Arguments &) {
    return encodeSafe(readFile(appliancePath("/etc/config/motd"), small_file).value_or(""));
}

} // namespace zandorin::ui
