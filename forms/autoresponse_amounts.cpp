#include "forms/autoresponse_settings.h"

#include "platform/libzandorin/config_manager.h"
#include "util/strings.h"

#include <cstdint>
#include <string_view>

namespace zandorin::autoresponse {

namespace {

struct Unit {
    const char *name; ///< end of the key: "<amount>_<name>"
    const char *label;
    std::int64_t size; ///< in the smallest unit of the amount
};

constexpr std::int64_t minute = 60;
constexpr std::int64_t hour = 60 * minute;
// Largest first.
constexpr Unit data[] = {{"mb", "MB", 1024}, {"kb", "kB", 1}};
constexpr Unit kilobytes[] = {{"kb", "kB", 1}};
constexpr Unit period[] = {
    {"d", "d", 24 * hour}, {"h", "h", hour}, {"m", "min", minute}, {"s", "s", 1}};
constexpr Unit minutes[] = {{"m", "min", 1}};

struct Amount {
    const char *check;
    const char *key;
    std::span<const Unit> units;
    const char *before; ///< in a text of several amounts
};
constexpr Amount amounts[] = {
    {"routeddata", "routeddata.data", kilobytes, ""},
    {"routeddata", "routeddata.period", minutes, " in "},
    {"celldata", "celldata.data", data, ""},
    {"celldata", "celldata.period", period, " in "},
};

std::string displayKey(const std::string &key, const Unit &unit) {
    return key + ".display_" + unit.name;
}

void store(ConfigManager &config, const std::string &key, std::span<const Unit> units) {
    std::int64_t whole = 0;
    bool given = false;
    for (const Unit &unit : units) {
        const std::string unitKey = key + "_" + unit.name;
        const bool used = !config.getElement(unitKey).empty();
        whole += unit.size * config.getSize(unitKey);
        given = given || used;
        if (used)
            config.setElement(displayKey(key, unit), true);
        else
            config.delElement(displayKey(key, unit));
    }
    if (given)
        config.setElement(key + ".amount", std::to_string(whole));
}

std::string show(const ConfigManager &config, const std::string &key, std::span<const Unit> units) {
    const auto whole = parseWhole(config.getElement(key + ".amount"));
    if (!whole)
        return "";
    std::int64_t rest = *whole;
    std::string text;
    for (const Unit &unit : units) {
        if (!config.getBoolean(displayKey(key, unit)))
            continue;
        text += (text.empty() ? "" : " ") + std::to_string(rest / unit.size) + " " + unit.label;
        rest %= unit.size;
    }
    return text;
}

} // namespace

void storeAmounts(ConfigManager &config, const std::string &check, const std::string &keys) {
    for (const Amount &amount : amounts) {
        config.delElement(keys + amount.key);
        if (amount.check == check)
            store(config, keys + amount.key, amount.units);
    }
}

std::string shownAmounts(const ConfigManager &config, const std::string &check,
                         const std::string &keys) {
    std::string text;
    for (const Amount &amount : amounts) {
        if (amount.check != check)
            continue;
        const std::string shown = show(config, keys + amount.key, amount.units);
        if (!shown.empty())
            text += (text.empty() ? "" : amount.before) + shown;
    }
    return text;
}

} // namespace zandorin::autoresponse
