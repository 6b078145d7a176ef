#include "services/autoresponse/engine.h"
#include "services/autoresponse/rule_file.h"
#include "services/autoresponse/usage_meter.h"
#include "tests/support/testing.h"
#include "util/split.h"
#include "util/strings.h"

#include <cstdlib>

namespace zandorin::responder {
namespace {

using namespace std::chrono_literals;

/// Tuesday, 24 November 2026, 0:00 UTC.
constexpr std::time_t midnight = 1795478400;

Moment at(std::int64_t second) {
    return {.steady = std::chrono::seconds(second), .wall = midnight + second};
}

/// A rule's life: "<second> <what>", in their order. What is a reading (yes, no, event, a number,
/// "?" for a failure), a command, "reload", "restart" (with what was saved), or "wait". Between
/// them the engine is called when it has asked for it, as the daemon does. Answers what ran:
/// "<second>:<list><action>".
std::string live(const Rule &rule, std::string_view line) {
    ::setenv("TZ", "UTC", 1);
    Engine engine;
    engine.setRules({rule});
    std::string ran;
    std::int64_t now = 0;
    const auto run = [&](std::int64_t until) {
        for (int calls = 0; calls < 1000; ++calls) {
            for (const Due &due : engine.advance(at(now)))
                append(ran,
                       {ran.empty() ? "" : " ", std::to_string(now), ":",
                        due.list == List::trigger ? "T" : "R", std::to_string(due.action + 1)});
            const auto next = engine.next(at(now));
            if (!next || *next > std::chrono::seconds(until))
                return;
            now = std::max(now + 1, std::chrono::ceil<std::chrono::seconds>(*next).count());
        }
        ADD_FAILURE() << "it never sleeps";
    };
    const auto words = utilities::split(line, " ");
    for (std::size_t word = 0; word + 1 < words.size(); word += 2) {
        run(leadingNumber(words[word]));
        now = leadingNumber(words[word]);
        const std::string &what = words[word + 1];
        using Kind = Reading::Kind;
        if (what == "restart") {
            const std::string saved = engine.save(at(now));
            engine = Engine();
            engine.setRules({rule});
            // The machine has started anew as well: its steady clock did, too.
            engine.load(saved, at(now));
        } else if (what == "reload") {
            engine.setRules({rule});
        } else if (what == "trigger" || what == "resolve" || what == "cancel") {
            EXPECT_TRUE(engine.command(what, rule.name, at(now)));
        } else if (what != "wait") {
            engine.take(0,
                        {.kind = what == "yes"     ? Kind::yes
                                 : what == "no"    ? Kind::no
                                 : what == "event" ? Kind::event
                                 : what == "?"     ? Kind::failed
                                                   : Kind::number,
                         .number = static_cast<double>(leadingNumber(what))},
                        at(now));
        }
        run(now);
    }
    return ran;
}

Rule plain() {
    return {.name = "rule", .check = "alarm", .triggerDelays = {0s}, .resolveDelays = {0s}};
}
Rule with(void (*change)(Rule &rule)) {
    Rule rule = plain();
    change(rule);
    return rule;
}

TEST(Responder, RunsActionsAtTheirTimes) {
    const Rule delayed = with([](Rule &rule) { rule.triggerDelays = {30s, 0s, 30s}; });
    const Rule resetting = with([](Rule &rule) { rule.reset = 60s; });
    const Rule repeating = with([](Rule &rule) {
        rule.repeats = true;
        rule.repeat = 20s;
    });
    const Rule above = with([](Rule &rule) { rule.limit = Limit{true, 50, 5}; });
    const Rule below = with([](Rule &rule) { rule.limit = Limit{false, 20, 10}; });
    // On Tuesday from 22:00 on, on Wednesday until 6:00.
    const Rule nightly = with([](Rule &rule) {
        rule.days[2] = {.from = 22 * 60, .to = 23 * 60 + 59};
        rule.days[3] = {.from = 0, .to = 5 * 60 + 59};
        rule.repeats = true;
        rule.repeat = 3600s;
    });
    const struct {
        const char *why;
        const Rule &rule;
        const char *line;
        const char *ran;
    } rows[] = {
        {"a condition triggers once and resolves once", delayed, "1 yes 2 yes 40 no 41 no",
         "1:T2 31:T1 31:T3 40:R1"},
        {"what waits is run although it has resolved", delayed, "1 yes 2 no 40 wait",
         "1:T2 2:R1 31:T1 31:T3"},
        {"not again before the reset time, then at once", resetting, "1 yes 5 no 9 yes 90 wait",
         "1:T1 5:R1 61:T1"},
        {"what ends within the reset time is over", resetting, "1 yes 5 no 9 yes 20 no 90 wait",
         "1:T1 5:R1"},
        {"an event ends with the reset time", resetting, "1 event 30 event 90 event 200 wait",
         "1:T1 61:R1 90:T1 150:R1"},
        {"again and again until it resolves", repeating, "0 yes 45 no 90 wait",
         "0:T1 20:T1 40:T1 45:R1"},
        {"a failed reading changes nothing", repeating, "0 yes 10 ? 21 wait 22 no",
         "0:T1 20:T1 22:R1"},
        {"above, with hysteresis", above, "1 50 2 51 3 46 4 51 5 45 6 50 7 52", "2:T1 5:R1 7:T1"},
        {"below, with hysteresis", below, "1 20 2 19 3 29 4 30 5 20", "2:T1 4:R1"},
        {"a restart repeats nothing and forgets nothing", delayed,
         "1 yes 2 restart 3 yes 20 restart 21 yes 40 no", "1:T2 31:T1 31:T3 40:R1"},
        {"what has ended during the restart resolves", resetting,
         "1 yes 2 restart 3 no 4 yes 80 wait", "1:T1 3:R1 61:T1"},
        {"new settings of others change nothing", repeating, "0 yes 10 reload 11 yes 30 no",
         "0:T1 20:T1 30:R1"},
        {"a cancelled rule waits for the end of its condition", repeating,
         "0 yes 5 cancel 6 yes 50 restart 51 yes 60 no 61 yes 62 no", "0:T1 61:T1 62:R1"},
        {"cancelled actions do not run", delayed, "1 yes 5 cancel 90 wait", "1:T2"},
        {"commands", plain(), "1 trigger 2 no 3 yes 4 resolve 5 yes 6 no 7 yes",
         "1:T1 1:R1 3:T1 4:R1 7:T1"},
        {"active in the last minute of the day", nightly, "86390 yes 86395 no",
         "86390:T1 86395:R1"},
        {"active over midnight alone: 22:00 to 6:00", nightly,
         "79000 yes 79100 no 79199 yes 79200 yes 90000 yes 100000 wait 107999 yes 108000 no",
         "79200:T1 82800:T1 86400:T1 90000:T1 93600:T1 97200:T1 100800:T1 104400:T1"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(live(row.rule, row.line), row.ran) << row.why;
}

TEST(Responder, FilesGiveBackWhatWasWritten) {
    const std::vector<std::string> fields = {"a", "", "tab\there\nline\r\\n \"$(x)\" \xe9", ""};
    EXPECT_EQ(readLines(writeLine({"first", "x"}) + writeLine(fields)).at(1), fields);
    Engine engine;
    engine.setRules({{.name = "a\tb\n", .check = "sms", .triggerDelays = {5s}}});
    engine.take(0, {.kind = Reading::Kind::event, .what = {"x\ty", "v\nw", "u"}}, at(0));
    engine.fail(0, "it\tfailed");
    const std::string saved = engine.save(at(0));
    EXPECT_EQ(engine.status(at(0)), "1\tTriggered, it failed\tx y\tv w\tu\n");
    Engine next;
    next.setRules({{.name = "other"}, {.name = "a\tb\n", .check = "sms", .triggerDelays = {5s}}});
    next.load(saved, at(3));
    const auto due = next.advance(at(5));
    ASSERT_EQ(due.size(), 1U);
    EXPECT_EQ(due[0].rule, 1U);
    EXPECT_EQ(due[0].what.value, "v\nw");
}

TEST(Responder, MetersUsageOverAPeriodAndOverRestarts) {
    UsageMeter meter(600);
    meter.count(5000, 0);
    meter.count(6000, 10);
    EXPECT_EQ(meter.used(), 1000U) << "what came before is not known";
    UsageMeter next(600);
    next.recall(meter.memory());
    next.count(300, 300);
    EXPECT_EQ(next.used(), 1300U) << "the counter began anew";
    next.count(300, 615);
    EXPECT_EQ(next.used(), 300U) << "the first piece is over";
    next.count(400, 100);
    EXPECT_EQ(next.used(), 400U) << "the clock was set back";
}

} // namespace
} // namespace zandorin::responder
