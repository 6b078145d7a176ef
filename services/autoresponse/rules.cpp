#include "services/autoresponse/rules.h"

#include "util/strings.h"

#include <algorithm>
#include <array>

namespace zandorin::responder {

namespace {

constexpr int most_rules = 1000;
constexpr int usual_repeat = 60; ///< seconds, where none are given

Window windowOf(const Settings &settings, const std::string &day) {
    constexpr int minutes_an_hour = 60;
    if (settings.get(day + "_from_hour").empty() || settings.get(day + "_to_hour").empty())
        return {};
    const auto at = [&](const char *end) {
        return settings.number(concat({day, end, "_hour"})) * minutes_an_hour +
               settings.number(concat({day, end, "_min"}));
    };
    return {.from = at("_from"), .to = at("_to")};
}

std::optional<Limit> limitOf(const Settings &settings, const std::string &check) {
    const std::string &comparison = settings.get(check + ".comparison");
    if (comparison != "above" && comparison != "below")
        return std::nullopt;
    return Limit{.isAbove = comparison == "above",
                 .value = static_cast<double>(
                     parseWhole(settings.get(check + ".trigger_value")).value_or(0)),
                 .hysteresis = static_cast<double>(settings.number(check + ".hysteresis"))};
}

std::vector<std::chrono::seconds> delaysOf(const Settings &settings, const std::string &list) {
    std::vector<std::chrono::seconds> delays;
    for (unsigned number = 1;; ++number) {
        const std::string key = list + std::to_string(number);
        const std::string &type = settings.get(key + ".type");
        if (type.empty())
            return delays;
        delays.emplace_back(settings.number(concat({key, ".", type, ".delay_time"})));
    }
}

Rule readRule(const Settings &settings, const std::string &key) {
    static constexpr std::array days = {"sunday",   "monday", "tuesday", "wednesday",
                                        "thursday", "friday", "saturday"};
    Rule rule{.name = settings.get(key + ".name"),
              .check = settings.get(key + ".check_type"),
              .reset = std::chrono::seconds(settings.number(key + ".reset_timeout")),
              .repeats = settings.isOn(key + ".repeat_trigger"),
              .repeat = std::chrono::seconds(
                  std::max(settings.number(key + ".repeat_timeout", usual_repeat), 0)),
              .triggerDelays = delaysOf(settings, key + ".trigger_actions.action"),
              .resolveDelays = delaysOf(settings, key + ".resolve_actions.action")};
    if (rule.repeat.count() == 0)
        rule.repeat = std::chrono::seconds(usual_repeat);
    if (!settings.isOn(key + ".disable_time_period"))
        for (std::size_t day = 0; day < days.size(); ++day)
            rule.days[day] = windowOf(settings, key + ".time_" + days[day]);
    for (const char *check : {"power", "environmental"})
        if (rule.check == check)
            rule.limit = limitOf(settings, key + (rule.check == "power" ? ".power" : ".enviro"));
    return rule;
}

} // namespace

std::string ruleKey(std::size_t rule) {
    return "config.autoresponse.autoresponse" + std::to_string(rule + 1);
}

std::vector<Rule> readRules(const Settings &settings) {
    const int total = std::min(settings.number("config.autoresponse.total"), most_rules);
    std::vector<Rule> rules;
    for (std::size_t rule = 0; rule < static_cast<std::size_t>(total); ++rule)
        rules.push_back(readRule(settings, ruleKey(rule)));
    return rules;
}

} // namespace zandorin::responder
