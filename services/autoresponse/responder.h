#pragma once

#include "services/autoresponse/actions.h"
#include "services/autoresponse/check.h"
#include "services/autoresponse/engine.h"
#include "util/fd.h"

#include <csignal>
#include <deque>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <poll.h>

namespace zandorin::responder {

/// The clocks by now; the steady one counts from the start of the machine, sleep included.
Moment momentNow();

/// What has happened, as the texts of actions have it.
std::string eventSentence(const std::string &rule, std::string_view happened, const Occasion &what);

/// What each check has kept in the state file, by the rules' names.
std::map<std::string, std::string> storedMemories();

/// The daemon: has the rules' checks read at their times, and runs what the engine says. Between
/// these times it sleeps.
class Responder {
  public:
    /// False, errno says why, when its socket cannot be made.
    bool open();
    /// Until stop() was called. Signals have to be blocked by then: they come while it sleeps.
    void run();

    // For signal handlers.
    static void stop() { is_stopping = 1; }
    static void reload() { is_stale = 1; }

  private:
    struct Watch {
        std::unique_ptr<Check> check = nullptr; ///< null while the rule is not active
        std::optional<Milliseconds> next = {};  ///< none: only when what it watches changes
        std::optional<Child> child = {};
    };
    struct Action {
        std::string rule;
        std::string name;
        Child child;
    };

    void load();
    void activate();
    void remember();
    void watchFiles();
    void look(std::size_t rule);
    void take(std::size_t rule, const Readings &readings);
    void lookAtAll();
    void start(const Due &due);
    void endAction(const std::string &rule, const std::string &name, const std::string &problem);
    void takeEnds();
    void readTexts();
    void keep();
    void report();
    void sleep();
    std::optional<Milliseconds> nextTime() const;

    static volatile std::sig_atomic_t is_stopping;
    static volatile std::sig_atomic_t is_stale;

    Sources sources_;
    Engine engine_;
    Moment now_;
    Milliseconds begin_{0}; ///< of the checks, the start of the machine being 0
    bool isLogging_ = false;
    std::vector<std::string> names_; ///< of the rules
    std::vector<Watch> watches_;     ///< of the same
    std::map<std::string, std::string> memories_;
    std::list<Action> actions_;
    std::deque<Due> queue_; ///< actions that are due while too many run
    UniqueFd texts_;        ///< what other programs push
    UniqueFd files_;        ///< inotify(7)
    UniqueFd clock_;        ///< readable once the clock has been set
    std::optional<Milliseconds> filesDue_ = {};
    Milliseconds kept_{0};
    std::string status_;
};

} // namespace zandorin::responder
