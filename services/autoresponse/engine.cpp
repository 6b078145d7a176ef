#include "services/autoresponse/engine.h"

#include "util/strings.h"

#include <algorithm>
#include <utility>

namespace zandorin::responder {

namespace {

constexpr int minutes_an_hour = 60;
constexpr std::size_t most_waiting = 100; ///< actions of a rule

std::tm localTime(std::time_t wall) {
    std::tm local = {};
    ::localtime_r(&wall, &local);
    return local;
}

bool holds(const Limit &limit, double number, bool held) {
    const double back = held ? limit.hysteresis : 0;
    return limit.isAbove ? number > limit.value - back : number < limit.value + back;
}

bool isAlways(const Rule &rule) {
    return std::all_of(rule.days.begin(), rule.days.end(),
                       [](const Window &day) { return day.from < 0; });
}

/// Until a day or an active time of today begins or ends: whatever the clock does to the hour,
/// mktime(3) knows.
Milliseconds untilEdge(const Rule &rule, std::time_t wall) {
    const std::tm local = localTime(wall);
    const Window &today = rule.days[static_cast<std::size_t>(local.tm_wday)];
    constexpr int whole_day = 24 * minutes_an_hour;
    std::time_t nearest = 0;
    for (const int minute : {today.from, today.from < 0 ? whole_day : today.to + 1, whole_day}) {
        std::tm edge = local;
        edge.tm_hour = 0;
        edge.tm_min = minute;
        edge.tm_sec = 0;
        edge.tm_isdst = -1;
        const std::time_t at = minute < 0 ? 0 : std::mktime(&edge);
        if (at > wall && (nearest == 0 || at < nearest))
            nearest = at;
    }
    return std::chrono::seconds(nearest == 0 ? minutes_an_hour : nearest - wall);
}

} // namespace

void Engine::setRules(std::vector<Rule> rules) {
    std::vector<State> states(rules.size());
    for (std::size_t i = 0; i < rules.size(); ++i)
        for (std::size_t old = 0; old < rules_.size(); ++old)
            if (rules_[old].name == rules[i].name && rules_[old].check == rules[i].check)
                states[i] = std::move(states_[old]);
    for (std::size_t i = 0; i < rules.size(); ++i)
        std::erase_if(states[i].waiting, [&](const Waiting &waiting) {
            return waiting.action >= rules[i].delays(waiting.list).size();
        });
    rules_ = std::move(rules);
    states_ = std::move(states);
    isChanged_ = true;
}

bool Engine::isActive(std::size_t rule, const Moment &now) const {
    const std::tm local = localTime(now.wall);
    const Window &today = rules_[rule].days[static_cast<std::size_t>(local.tm_wday)];
    const int minute = local.tm_hour * minutes_an_hour + local.tm_min;
    return today.from < 0 || (minute >= today.from && minute <= today.to);
}

void Engine::take(std::size_t rule, const Reading &reading, const Moment &now) {
    using Kind = Reading::Kind;
    State &state = states_[rule];
    const bool isFailed = reading.kind == Kind::failed;
    if (isFailed && state.unreadable != reading.what.value)
        step(rule, "could not be read: " + reading.what.value);
    state.unreadable = isFailed ? reading.what.value : "";
    if (isFailed || !isActive(rule, now))
        return;
    state.last = reading.what;
    if (reading.kind == Kind::nothing)
        return;
    if (reading.kind == Kind::event) {
        if (!state.isTriggered && now.steady >= state.reset)
            trigger(rule, true, now, "triggered");
        return;
    }
    const bool held = state.level.value_or(state.isTriggered && !state.isByEvent);
    state.level = reading.kind != Kind::number
                      ? reading.kind == Kind::yes
                      : rules_[rule].limit && holds(*rules_[rule].limit, reading.number, held);
    isChanged_ = isChanged_ || (state.isHeld && !*state.level);
    state.isHeld = state.isHeld && *state.level;
    if (!*state.level && state.isTriggered && !state.isByEvent)
        resolve(rule, now, "resolved");
}

bool Engine::command(std::string_view word, std::string_view name, const Moment &now) {
    for (std::size_t rule = 0; rule < rules_.size(); ++rule) {
        if (rules_[rule].name != name)
            continue;
        State &state = states_[rule];
        if (word == "trigger") {
            trigger(rule, !state.level, now, "triggered by command");
            return true;
        }
        if (word != "resolve" && word != "cancel")
            return false;
        state.isHeld = state.isTriggered || state.level.value_or(false);
        if (word == "resolve") {
            resolve(rule, now, "resolved by command");
        } else {
            state.waiting.clear();
            state.isTriggered = false;
            state.failure.clear();
            step(rule, "cancelled");
        }
        return true;
    }
    return false;
}

void Engine::trigger(std::size_t rule, bool isByEvent, const Moment &now, std::string_view words) {
    State &state = states_[rule];
    state.isTriggered = true;
    state.isByEvent = isByEvent;
    state.isHeld = false;
    state.reset = now.steady + rules_[rule].reset;
    state.repeat = now.steady + rules_[rule].repeat;
    state.failure.clear();
    schedule(rule, List::trigger, now);
    step(rule, words);
}

void Engine::resolve(std::size_t rule, const Moment &now, std::string_view words) {
    State &state = states_[rule];
    state.isTriggered = false;
    state.failure.clear();
    schedule(rule, List::resolve, now);
    step(rule, words);
}

void Engine::schedule(std::size_t rule, List list, const Moment &now) {
    const auto &delays = rules_[rule].delays(list);
    State &state = states_[rule];
    if (state.waiting.size() + delays.size() > most_waiting) {
        step(rule, "has too many actions waiting");
        return;
    }
    for (std::size_t action = 0; action < delays.size(); ++action)
        state.waiting.push_back({.due = now.steady + delays[action],
                                 .list = list,
                                 .action = action,
                                 .what = state.last});
}

void Engine::step(std::size_t rule, std::string_view words) {
    const Occasion &last = states_[rule].last;
    std::string text(words);
    for (const std::string &word : {last.subject, last.value, last.user})
        text += word.empty() ? "" : ", " + word;
    steps_.push_back({rule, std::move(text)});
    isChanged_ = true;
}

std::vector<Due> Engine::advance(const Moment &now) {
    std::vector<std::pair<Milliseconds, Due>> due;
    for (std::size_t rule = 0; rule < rules_.size(); ++rule) {
        State &state = states_[rule];
        const bool active = isActive(rule, now);
        if (!active)
            state.level.reset(); // it may be another when the rule is active again
        if (state.isTriggered && state.isByEvent && now.steady >= state.reset)
            resolve(rule, now, "resolved");
        if (state.level.value_or(false) && !state.isTriggered && !state.isHeld &&
            now.steady >= state.reset)
            trigger(rule, false, now, "triggered");
        if (state.isTriggered && rules_[rule].repeats && active && now.steady >= state.repeat) {
            state.repeat = now.steady + rules_[rule].repeat;
            schedule(rule, List::trigger, now);
            step(rule, "triggered still");
        }
        for (const Waiting &waiting : state.waiting)
            if (waiting.due <= now.steady)
                due.emplace_back(waiting.due,
                                 Due{rule, waiting.list, waiting.action, waiting.what});
        if (std::erase_if(state.waiting,
                          [&](const Waiting &waiting) { return waiting.due <= now.steady; }) > 0)
            isChanged_ = true;
    }
    std::stable_sort(due.begin(), due.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    std::vector<Due> actions;
    actions.reserve(due.size());
    for (auto &[when, action] : due)
        actions.push_back(std::move(action));
    return actions;
}

std::optional<Milliseconds> Engine::next(const Moment &now) const {
    std::optional<Milliseconds> nearest;
    const auto add = [&](bool isMeant, Milliseconds when) {
        if (isMeant && (!nearest || when < *nearest))
            nearest = when;
    };
    for (std::size_t rule = 0; rule < rules_.size(); ++rule) {
        const State &state = states_[rule];
        for (const Waiting &waiting : state.waiting)
            add(true, waiting.due);
        add(state.isTriggered && state.isByEvent, state.reset);
        add(state.level.value_or(false) && !state.isTriggered && !state.isHeld, state.reset);
        add(state.isTriggered && rules_[rule].repeats && isActive(rule, now), state.repeat);
        if (!isAlways(rules_[rule]))
            add(true, now.steady + untilEdge(rules_[rule], now.wall));
    }
    return nearest;
}

} // namespace zandorin::responder
