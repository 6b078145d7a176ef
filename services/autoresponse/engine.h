#pragma once

#include <array>
#include <chrono>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The rules of auto-responses in time: readings in, actions out. Nothing here looks at a clock, a
// file or a device.

namespace zandorin::responder {

using Milliseconds = std::chrono::milliseconds;

/// A point in time by two clocks: one that is never set (since any beginning), and the one of the
/// wall, whose local time of day the active times are in.
struct Moment {
    Milliseconds steady{0};
    std::time_t wall = 0;
};

/// What people are shown of a reading; raw.
struct Occasion {
    std::string subject = ""; ///< device or property
    std::string value = "";   ///< event or measured value
    std::string user = "";    ///< user or device name
};

/// What a check has found.
struct Reading {
    enum class Kind {
        failed, ///< it could not be read; `what.value` has why
        nothing,
        event, ///< something happened that has no end of its own
        no,    ///< the condition does not hold
        yes,
        number, ///< to be compared with the rule's limit
    };
    Kind kind = Kind::nothing;
    Occasion what = {};
    double number = 0;
};

/// Minutes of a day, both inclusive, so that 23:59 meets 0:00 of the next day. A negative `from`:
/// the whole day.
struct Window {
    int from = -1;
    int to = -1;
};

struct Limit {
    bool isAbove = true; ///< triggers above the value, else below it
    double value = 0;
    double hysteresis = 0; ///< how far it must come back to resolve
};

enum class List { trigger, resolve };

/// A rule without what it watches and does.
struct Rule {
    std::string name = "";
    std::string check = ""; ///< type
    std::chrono::seconds reset{0};
    bool repeats = false;
    std::chrono::seconds repeat{0};  ///< above 0 where it repeats
    std::array<Window, 7> days = {}; ///< from Sunday on
    std::optional<Limit> limit = {};
    std::vector<std::chrono::seconds> triggerDelays = {}; ///< one for each action
    std::vector<std::chrono::seconds> resolveDelays = {};

    const std::vector<std::chrono::seconds> &delays(List list) const {
        return list == List::trigger ? triggerDelays : resolveDelays;
    }
};

/// An action that is to be started now.
struct Due {
    std::size_t rule;
    List list;
    std::size_t action;
    Occasion what;
};

/// Something to be logged.
struct Step {
    std::size_t rule;
    std::string words;
};

class Engine {
  public:
    /// A rule of the same name and check as before keeps its state.
    void setRules(std::vector<Rule> rules);

    /// Readings of a rule that is not active now change nothing.
    void take(std::size_t rule, const Reading &reading, const Moment &now);
    /// "trigger", "resolve" or "cancel" for the rule of that name; false for anything else.
    bool command(std::string_view word, std::string_view name, const Moment &now);
    /// What is due by now, in the order in which it is to be started. To be called after all that
    /// changes anything, and at next().
    std::vector<Due> advance(const Moment &now);
    /// When something will be due that no reading brings; none when nothing will.
    std::optional<Milliseconds> next(const Moment &now) const;
    bool isActive(std::size_t rule, const Moment &now) const;
    /// An action has failed: shown until the rule triggers or resolves again.
    void fail(std::size_t rule, std::string words) { states_[rule].failure = std::move(words); }

    std::vector<Step> takeSteps() { return std::exchange(steps_, {}); }
    /// True when what save() answers is another since the last call, but for the time that passed.
    bool takeChange() { return std::exchange(isChanged_, false); }

    /// A line for each rule, as the pages read it (docs/autoresponse.md).
    std::string status(const Moment &now) const;
    /// All that a restart must not forget. What was due meanwhile is due at once.
    std::string save(const Moment &now) const;
    /// After setRules; what is about no rule of now is left out.
    void load(std::string_view text, const Moment &now);

  private:
    struct Waiting {
        Milliseconds due;
        List list;
        std::size_t action;
        Occasion what;
    };
    struct State {
        bool isTriggered = false;
        bool isByEvent = false; ///< it ends with the reset time
        bool isHeld = false;    ///< ended by a command: not again before the condition has ended
        std::optional<bool> level = {};
        Milliseconds reset{0};
        Milliseconds repeat{0};
        Occasion last = {};
        std::string failure = ""; ///< of an action
        std::string unreadable = "";
        std::vector<Waiting> waiting = {};
    };

    void trigger(std::size_t rule, bool isByEvent, const Moment &now, std::string_view words);
    void resolve(std::size_t rule, const Moment &now, std::string_view words);
    void schedule(std::size_t rule, List list, const Moment &now);
    void step(std::size_t rule, std::string_view words);

    std::vector<Rule> rules_;
    std::vector<State> states_;
    std::vector<Step> steps_;
    bool isChanged_ = false;
};

} // namespace zandorin::responder
