#include "services/autoresponse/responder.h"

#include "platform/libzdsupport/infod.h"
#include "services/autoresponse/rules.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"
#include "util/unix_address.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>

#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace zandorin::responder {

namespace {

using namespace std::chrono_literals;

using Paths = std::vector<std::string>;

constexpr const char *state_path = "/var/lib/auto-response/state";
constexpr const char *status_path = "/var/run/autoresponse.status";
constexpr std::string_view command_key = "config.autoresponse.command";
constexpr std::size_t most_actions = 16; ///< at once
constexpr std::size_t most_waiting = 200;
/// What changes again and again is looked at five times a second.
constexpr auto file_pause = 200ms;
/// Measured amounts, which change all the time, are kept after so long.
constexpr auto memory_interval = 10min;

/// Readable as soon as somebody sets the clock (timerfd_create(2)).
UniqueFd clockWatch() {
    UniqueFd timer(::timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC));
    itimerspec never = {};
    never.it_value.tv_sec = std::numeric_limits<std::int32_t>::max();
    ::timerfd_settime(timer.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &never, nullptr);
    return timer;
}

UniqueFd textSocket() {
    const std::string path = appliancePath(infod_socket);
    const auto address = unixAddress(path);
    if (!address)
        return {};
    UniqueFd socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    ::unlink(path.c_str());
    return socket && ::bind(socket.get(), reinterpret_cast<const sockaddr *>(&*address),
                            sizeof *address) == 0
               ? std::move(socket)
               : UniqueFd();
}

} // namespace

volatile std::sig_atomic_t Responder::is_stopping = 0;
volatile std::sig_atomic_t Responder::is_stale = 0;

Moment momentNow() {
    timespec time = {};
    ::clock_gettime(CLOCK_BOOTTIME, &time);
    return {.steady = std::chrono::seconds(time.tv_sec) + Milliseconds(time.tv_nsec / 1000000),
            .wall = ::time(nullptr)};
}

std::string eventSentence(const std::string &rule, std::string_view happened,
                          const Occasion &what) {
    std::string text = concat({"Auto-response '", rule, "' ", happened});
    const char *before = ": ";
    for (const std::string &word : {what.subject, what.value, what.user}) {
        text += word.empty() ? "" : before + word;
        before = word.empty() ? before : ", ";
    }
    return text;
}

std::map<std::string, std::string> storedMemories() {
    std::map<std::string, std::string> memories;
    for (const auto &fields : readLines(readFile(appliancePath(state_path)).value_or("")))
        if (fields[0] == "memory" && fields.size() == 3)
            memories[fields[1]] = fields[2];
    return memories;
}

bool Responder::open() {
    texts_ = textSocket();
    clock_ = clockWatch();
    return static_cast<bool>(texts_);
}

void Responder::run() {
    now_ = momentNow();
    load();
    engine_.load(readFile(appliancePath(state_path)).value_or(""), now_);
    memories_ = storedMemories();
    while (is_stopping == 0) {
        if (is_stale != 0) {
            is_stale = 0;
            load();
        }
        activate();
        lookAtAll();
        for (Due &due : engine_.advance(now_))
            if (queue_.size() < most_waiting)
                queue_.push_back(std::move(due));
            else
                logRecord(Priority::error, "Too many actions wait; one of '%s' is left out",
                          names_[due.rule].c_str());
        keep(); // before anything is done, so that nothing is done twice
        for (; !queue_.empty() && actions_.size() < most_actions; queue_.pop_front())
            start(queue_.front());
        report();
        sleep();
        now_ = momentNow();
        takeEnds();
    }
    kept_ = Milliseconds(0);
    keep();
}

void Responder::load() {
    constexpr std::size_t most = std::size_t{1024} * 1024;
    sources_.settings = Settings(readFile(appliancePath(rules_path), most).value_or(""));
    const Settings &settings = sources_.settings;
    begin_ = std::chrono::seconds(settings.number("config.autoresponse.boot_delay"));
    isLogging_ = settings.isOn("config.autoresponse.logging.enabled");
    std::vector<Rule> rules = readRules(settings);
    remember();
    files_.reset();
    watches_.clear();
    watches_.resize(rules.size());
    // What is due already is about the rules as they were.
    std::erase_if(queue_, [&](const Due &due) {
        return due.rule >= rules.size() || rules[due.rule].name != names_[due.rule];
    });
    names_.clear();
    for (const Rule &rule : rules)
        names_.push_back(rule.name);
    engine_.setRules(std::move(rules));
    ::tzset();
}

/// Checks are there while their rules are active: whatever they have seen is forgotten with them.
void Responder::activate() {
    bool hasChanged = false;
    for (std::size_t rule = 0; rule < watches_.size(); ++rule) {
        Watch &watch = watches_[rule];
        const bool isActive = now_.steady >= begin_ && engine_.isActive(rule, now_);
        if (isActive == (watch.check != nullptr) || (isActive && names_[rule].empty()))
            continue;
        hasChanged = true;
        if (!isActive) {
            remember();
            watch = {};
            continue;
        }
        watch.check = makeCheck(sources_, ruleKey(rule));
        if (!watch.check) {
            names_[rule].clear(); // and not again
            continue;
        }
        if (const auto memory = memories_.find(names_[rule]); memory != memories_.end())
            watch.check->recall(memory->second);
        watch.next = now_.steady;
    }
    if (!hasChanged)
        return;
    files_.reset(); // with what is watched no more
    watchFiles();
}

void Responder::remember() {
    for (std::size_t rule = 0; rule < watches_.size(); ++rule)
        if (watches_[rule].check)
            if (std::string memory = watches_[rule].check->memory(); !memory.empty())
                memories_[names_[rule]] = std::move(memory);
}

void Responder::watchFiles() {
    for (const Watch &watch : watches_)
        for (const std::string &path : watch.check ? watch.check->watched() : Paths()) {
            if (!files_)
                files_.reset(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
            ::inotify_add_watch(files_.get(), path.c_str(),
                                path.ends_with('/') ? IN_CREATE | IN_DELETE | IN_MOVED_FROM |
                                                          IN_MOVED_TO | IN_ONLYDIR
                                                    : IN_MODIFY);
        }
}

void Responder::lookAtAll() {
    const bool haveFilesChanged = filesDue_ && now_.steady >= *filesDue_;
    if (haveFilesChanged) {
        filesDue_.reset();
        std::array<char, 4096> events;
        while (::read(files_.get(), events.data(), events.size()) > 0) {
        }
        watchFiles(); // also those that were not there before
    }
    for (std::size_t rule = 0; rule < watches_.size(); ++rule) {
        const Watch &watch = watches_[rule];
        if (watch.check && ((watch.next && now_.steady >= *watch.next) ||
                            (haveFilesChanged && !watch.check->watched().empty())))
            look(rule);
    }
}

void Responder::look(std::size_t rule) {
    Watch &watch = watches_[rule];
    // All checks of one interval look at the same time.
    const Milliseconds interval = watch.check->interval();
    watch.next.reset();
    if (interval.count() > 0)
        watch.next = (now_.steady / interval + 1) * interval;
    const Command command = watch.check->command();
    if (command.words.empty())
        take(rule, watch.check->look());
    else if (!watch.child)
        watch.child.emplace(command);
}

void Responder::take(std::size_t rule, const Readings &readings) {
    for (const Reading &reading : readings)
        engine_.take(rule, reading, now_);
}

void Responder::start(const Due &due) {
    const std::string key = actionKey(due.rule, due.list, due.action);
    const std::string name = actionName(sources_.settings, key);
    const bool isTrigger = due.list == List::trigger;
    Act started = act(
        sources_.settings, key,
        eventSentence(names_[due.rule], isTrigger ? "has triggered" : "has resolved", due.what));
    if (started.command.words.empty())
        endAction(names_[due.rule], name, started.failure);
    else
        actions_.push_back({names_[due.rule], name, Child(started.command)});
}

void Responder::endAction(const std::string &rule, const std::string &name,
                          const std::string &problem) {
    if (!problem.empty())
        logRecord(Priority::error, "Auto-response '%s': action '%s' failed: %s", rule.c_str(),
                  name.c_str(), problem.c_str());
    else if (isLogging_)
        logRecord(Priority::info, "Auto-response '%s': action '%s' was carried out", rule.c_str(),
                  name.c_str());
    const auto found = std::find(names_.begin(), names_.end(), rule);
    if (!problem.empty() && found != names_.end())
        engine_.fail(static_cast<std::size_t>(found - names_.begin()),
                     concat({"action '", name, "' failed: ", problem}));
}

void Responder::takeEnds() {
    for (std::size_t rule = 0; rule < watches_.size(); ++rule) {
        Watch &watch = watches_[rule];
        if (!watch.child || !watch.child->look())
            continue;
        const Ended ended = watch.child->ended();
        watch.child.reset();
        take(rule, watch.check->judge(ended));
    }
    std::erase_if(actions_, [&](Action &action) {
        if (!action.child.look())
            return false;
        endAction(action.rule, action.name, problemOf(action.child.ended()));
        return true;
    });
}

void Responder::readTexts() {
    std::array<char, 4096> buffer;
    for (;;) {
        const ssize_t got = ::recv(texts_.get(), buffer.data(), buffer.size(), 0);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return;
        // "<key>\0<kind>\0<text>"
        const std::string_view datagram(buffer.data(), static_cast<std::size_t>(got));
        const auto key = datagram.substr(0, datagram.find('\0'));
        const auto end = datagram.find('\0', key.size() + 1);
        if (end == std::string_view::npos)
            continue;
        const std::string_view text = datagram.substr(end + 1);
        if (key == command_key) {
            const auto word = text.substr(0, text.find(' '));
            if (word.size() == text.size() ||
                !engine_.command(word, text.substr(word.size() + 1), now_))
                logRecord(Priority::error, "Unknown command of auto-responses: %s",
                          std::string(text).c_str());
            continue;
        }
        for (std::size_t rule = 0; rule < watches_.size(); ++rule)
            if (watches_[rule].check)
                take(rule, watches_[rule].check->hear(key, text));
    }
}

void Responder::keep() {
    constexpr mode_t own = 0600;
    constexpr mode_t folder = 0700;
    constexpr mode_t readableFolder = 0755;
    remember();
    const bool isOld = !memories_.empty() && now_.steady - kept_ >= memory_interval;
    if (!engine_.takeChange() && !isOld)
        return;
    kept_ = now_.steady;
    std::string text = engine_.save(now_);
    for (const auto &[name, memory] : memories_)
        text += writeLine({"memory", name, memory});
    const std::string path = appliancePath(state_path);
    makeFolder(appliancePath("/var/lib"), readableFolder);
    makeFolder(path.substr(0, path.rfind('/')), folder);
    if (!replaceFile(path, text, own))
        logRecord(Priority::error, "The state of auto-responses could not be kept: %s",
                  std::strerror(errno));
}

void Responder::report() {
    for (const Step &step : engine_.takeSteps())
        if (isLogging_)
            logRecord(Priority::info, "Auto-response '%s' %s", names_[step.rule].c_str(),
                      step.words.c_str());
    constexpr mode_t readable = 0644;
    if (std::string status = engine_.status(now_); status != status_) {
        status_ = std::move(status);
        replaceFile(appliancePath(status_path), status_, readable, Durable::no);
    }
}

std::optional<Milliseconds> Responder::nextTime() const {
    std::optional<Milliseconds> nearest = engine_.next(now_);
    const auto add = [&](std::optional<Milliseconds> when) {
        if (when && (!nearest || *when < *nearest))
            nearest = when;
    };
    const auto addChild = [&](const Child &child) {
        const auto left =
            std::chrono::ceil<Milliseconds>(child.deadline() - std::chrono::steady_clock::now());
        add(now_.steady + left);
    };
    add(filesDue_);
    if (now_.steady < begin_)
        add(begin_);
    for (const Watch &watch : watches_) {
        add(watch.next);
        if (watch.child)
            addChild(*watch.child);
    }
    for (const Action &action : actions_)
        addChild(action.child);
    return nearest;
}

void Responder::sleep() {
    const auto readable = [](int fd) { return pollfd{.fd = fd, .events = POLLIN, .revents = 0}; };
    std::vector<pollfd> fds = {readable(texts_.get()), readable(clock_.get()),
                               readable(filesDue_ ? -1 : files_.get())};
    const auto addChild = [&](const Child &child) {
        fds.push_back(readable(child.fd()));
        fds.push_back(readable(child.endFd()));
    };
    for (const Watch &watch : watches_)
        if (watch.child)
            addChild(*watch.child);
    for (const Action &action : actions_)
        addChild(action.child);
    const std::optional<Milliseconds> next = nextTime();
    timespec left = {};
    if (next) {
        const auto time = std::max(*next - momentNow().steady, Milliseconds(0)).count();
        left.tv_sec = static_cast<time_t>(time / 1000);
        left.tv_nsec = static_cast<long>(time % 1000 * 1000000);
    }
    sigset_t none = {};
    ::sigemptyset(&none);
    if (::ppoll(fds.data(), fds.size(), next ? &left : nullptr, &none) <= 0)
        return;
    now_ = momentNow();
    if (fds[0].revents != 0)
        readTexts();
    if (fds[1].revents != 0)
        clock_ = clockWatch();
    if (fds[2].revents != 0)
        filesDue_ = now_.steady + file_pause;
}

} // namespace zandorin::responder
