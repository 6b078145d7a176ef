#include "services/autoresponse/responder.h"

#include "platform/libzdsupport/infod.h"
#include "services/autoresponse/rules.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <sys/stat.h>

// The service of the auto-responses, run by the supervisor. docs/autoresponse.md has what it does.
//
//     auto-response
//         the daemon
//     auto-response read RULE
//         prints what the check of a rule, by its number, reads now
//     auto-response try RULE LIST ACTION
//         carries out an action, by its number, of the list "trigger" or "resolve", and prints how
//         that went
//     auto-response trigger|resolve|cancel NAME
//         a command to the daemon about the rule of that name

namespace zandorin::responder {

namespace {

int say(const std::string &words, bool isDone) {
    std::printf("%s\n", words.c_str());
    return isDone ? 0 : 1;
}

/// Somebody waits for the answer.
Ended runNow(Command command) {
    command.limit = std::min(command.limit, std::chrono::seconds(20));
    return Child(command).wait();
}

/// From 1 on; 0 for what is no such number.
std::size_t numberOf(const std::string &text) {
    const auto number = parseWhole(text);
    return number && *number > 0 && *number < 10000 ? static_cast<std::size_t>(*number) : 0;
}

int read(Sources &sources, std::size_t rule) {
    const auto check = makeCheck(sources, ruleKey(rule));
    if (!check)
        return say("There is no such auto-response, or it has no check.", false);
    const auto memories = storedMemories();
    if (const auto memory = memories.find(sources.settings.get(ruleKey(rule) + ".name"));
        memory != memories.end())
        check->recall(memory->second);
    const Command command = check->command();
    const Readings readings = command.words.empty() ? check->look() : check->judge(runNow(command));
    std::string words;
    for (const Reading &reading : readings)
        words += (words.empty() ? "" : " ") + sentence(reading);
    return say(words.empty() ? "It watches nothing." : words, !words.empty());
}

int tryAction(Sources &sources, std::size_t rule, List list, std::size_t action) {
    const std::string key = actionKey(rule, list, action);
    if (sources.settings.get(key + ".type").empty())
        return say("There is no such action.", false);
    const std::string name = "Action '" + actionName(sources.settings, key) + "' ";
    const Act started =
        act(sources.settings, key,
            eventSentence(sources.settings.get(ruleKey(rule) + ".name"), "is being tried", {}));
    std::string problem = started.failure;
    if (!started.command.words.empty())
        problem = problemOf(runNow(started.command));
    logRecord(Priority::info, "Auto-response: a try of %s: %s", key.c_str(),
              problem.empty() ? "carried out" : problem.c_str());
    return say(name + (problem.empty() ? "was carried out." : "failed: " + problem + "."),
               problem.empty());
}

int usage() {
    std::fputs("usage: auto-response [read RULE | try RULE trigger|resolve ACTION |\n"
               "                      trigger NAME | resolve NAME | cancel NAME]\n",
               stderr);
    return 2;
}

int serve() {
    const auto handle = [](int signal, void (*handler)(int)) {
        struct sigaction action = {};
        action.sa_handler = handler;
        ::sigaction(signal, &action, nullptr);
    };
    handle(SIGTERM, [](int) { Responder::stop(); });
    handle(SIGINT, [](int) { Responder::stop(); });
    handle(SIGHUP, [](int) { Responder::reload(); });
    handle(SIGPIPE, SIG_IGN);
    sigset_t held = {};
    ::sigemptyset(&held);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        ::sigaddset(&held, signal);
    ::sigprocmask(SIG_BLOCK, &held, nullptr);
    Responder responder;
    if (!responder.open()) {
        logRecord(Priority::error, "The socket of auto-responses cannot be made: %s",
                  std::strerror(errno));
        return 1;
    }
    responder.run();
    return 0;
}

int run(const std::vector<std::string> &words) {
    if (words.size() == 1)
        return serve();
    const std::string &word = words[1];
    if (words.size() == 3 && (word == "trigger" || word == "resolve" || word == "cancel")) {
        const std::string command = concat({word, " ", words[2]});
        const bool isTaken =
            infod_push_text("config.autoresponse.command", 1, command.c_str()) == 0;
        if (!isTaken)
            std::fputs("auto-response: the service does not run\n", stderr);
        return isTaken ? 0 : 1;
    }
    Sources sources{.settings = Settings(readFile(appliancePath(rules_path)).value_or("")),
                    .isDaemon = false};
    const std::size_t rule = words.size() > 2 ? numberOf(words[2]) : 0;
    if (word == "read" && words.size() == 3 && rule > 0)
        return read(sources, rule - 1);
    const std::size_t action = words.size() == 5 ? numberOf(words[4]) : 0;
    if (word == "try" && rule > 0 && action > 0 && (words[3] == "trigger" || words[3] == "resolve"))
        return tryAction(sources, rule - 1, words[3] == "trigger" ? List::trigger : List::resolve,
                         action - 1);
    return usage();
}

} // namespace

} // namespace zandorin::responder

int main(int argc, char **argv) {
    ::umask(077);
    zandorin::openLog("auto-response");
    return zandorin::responder::run({argv, argv + argc});
}
