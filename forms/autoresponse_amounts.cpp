#include "forms/autoresponse.h"

#include "platform/libzandorin/config_manager.h"
#include "util/strings.h"

#include <cstdint>
#include <span>

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
};
constexpr Amount amounts[] = {
    {"routeddata", ".routeddata.data", kilobytes},
    {"routeddata", ".routeddata.period", minutes},
    {"celldata", ".celldata.data", data},
    {"celldata", ".celldata.period", period},
};

void store(ConfigManager &config, const std::string &key, std::span<const Unit> units) {
    std::int64_t whole = 0;
    bool given = false;
    for (const Unit &unit : units) {
        const std::string number = config.getElement(concat({key, "_", unit.name}));
        if (number.empty())
            continue;
        given = true;
        whole += unit.size * parseWhole(number).value_or(0);
        config.setElement(concat({key, ".display_", unit.name}), true);
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
        if (!config.getBoolean(concat({key, ".display_", unit.name})))
            continue;
        text += (text.empty() ? "" : " ") + std::to_string(rest / unit.size) + " " + unit.label;
        rest %= unit.size;
    }
    return text;
}

} // namespace

void storeAmounts(ConfigManager &config, const std::string &rule) {
    const std::string check = config.getElement(rule + ".check_type");
    for (const Amount &amount : amounts) {
        config.delElement(rule + amount.key);
        if (amount.check == check)
            store(config, rule + amount.key, amount.units);
    }
}

std::string shownAmounts(const ConfigManager &config, const std::string &rule) {
    const std::string check = config.getElement(rule + ".check_type");
    std::string text;
    for (const Amount &amount : amounts) {
        if (amount.check != check)
            continue;
        const std::string shown = show(config, rule + amount.key, amount.units);
        text += (text.empty() || shown.empty() ? "" : " in ") + shown;
    }
    return text;
}

} // namespace zandorin::autoresponse
