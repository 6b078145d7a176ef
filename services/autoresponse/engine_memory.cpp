#include "services/autoresponse/engine.h"
#include "services/autoresponse/rule_file.h"
#include "util/strings.h"

#include <algorithm>

// What is kept of the rules' states: for the pages, and for the time after a restart.

namespace zandorin::responder {

namespace {

/// The status file's reader knows no escapes.
std::string oneField(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    return text;
}

std::string left(Milliseconds until, const Moment &now) {
    return std::to_string(std::max(until - now.steady, Milliseconds(0)).count());
}

} // namespace

std::string Engine::status(const Moment &now) const {
    std::string text;
    for (std::size_t rule = 0; rule < rules_.size(); ++rule) {
        const State &state = states_[rule];
        std::string words = state.isTriggered      ? "Triggered"
                            : !isActive(rule, now) ? "Inactive"
                                                   : "Normal";
        if (!state.unreadable.empty())
            words += ", could not be read: " + state.unreadable;
        if (!state.failure.empty())
            words += ", " + state.failure;
        append(text,
               {std::to_string(rule + 1), "\t", oneField(words), "\t", oneField(state.last.subject),
                "\t", oneField(state.last.value), "\t", oneField(state.last.user), "\n"});
    }
    return text;
}

std::string Engine::save(const Moment &now) const {
    std::string text = writeLine({"saved", std::to_string(now.wall)});
    for (std::size_t rule = 0; rule < rules_.size(); ++rule) {
        const State &state = states_[rule];
        std::string flags;
        flags += state.isTriggered ? 't' : '-';
        flags += state.isByEvent ? 'e' : '-';
        flags += state.isHeld ? 'h' : '-';
        const Occasion &last = state.last;
        text += writeLine({"rule", rules_[rule].name, rules_[rule].check, flags,
                           left(state.reset, now), left(state.repeat, now), state.failure,
                           last.subject, last.value, last.user});
        for (const Waiting &waiting : state.waiting)
            text += writeLine({"due", waiting.list == List::trigger ? "trigger" : "resolve",
                               std::to_string(waiting.action), left(waiting.due, now),
                               waiting.what.subject, waiting.what.value, waiting.what.user});
    }
    return text;
}

void Engine::load(std::string_view text, const Moment &now) {
    std::int64_t passed = 0; // seconds; a clock that was set back counts as none
    const auto until = [&](const std::string &rest) {
        const auto most = Milliseconds(std::chrono::hours(24 * 366 * 70));
        const auto waits = std::clamp(Milliseconds(leadingNumber(rest)), Milliseconds(0), most);
        return now.steady + std::max(waits - Milliseconds(passed * 1000), Milliseconds(0));
    };
    std::optional<std::size_t> rule;
    for (const auto &fields : readLines(text)) {
        if (fields[0] == "saved" && fields.size() == 2) {
            passed = std::clamp<std::int64_t>(now.wall - leadingNumber(fields[1]), 0, 1LL << 32);
        } else if (fields[0] == "rule" && fields.size() == 10) {
            const auto found =
                std::find_if(rules_.begin(), rules_.end(), [&](const Rule &candidate) {
                    return candidate.name == fields[1] && candidate.check == fields[2];
                });
            rule = found == rules_.end() ? std::nullopt
                                         : std::optional<std::size_t>(found - rules_.begin());
            if (!rule)
                continue;
            const std::string &flags = fields[3];
            states_[*rule] = {.isTriggered = flags.find('t') != std::string::npos,
                              .isByEvent = flags.find('e') != std::string::npos,
                              .isHeld = flags.find('h') != std::string::npos,
                              .reset = until(fields[4]),
                              .repeat = until(fields[5]),
                              .last = {fields[7], fields[8], fields[9]},
                              .failure = fields[6]};
        } else if (fields[0] == "due" && fields.size() == 7 && rule) {
            const List list = fields[1] == "trigger" ? List::trigger : List::resolve;
            const auto action = static_cast<std::size_t>(leadingNumber(fields[2]));
            if (action < rules_[*rule].delays(list).size())
                states_[*rule].waiting.push_back({.due = until(fields[3]),
                                                  .list = list,
                                                  .action = action,
                                                  .what = {fields[4], fields[5], fields[6]}});
        }
    }
}

} // namespace zandorin::responder
