#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/configurator.h"
#include "tests/support/appliance_test.h"
#include "tests/support/log_capture.h"

#include <csignal>

#include <unistd.h>

namespace zandorin {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class Configurators : public test::ApplianceTest {
  protected:
    static void putScript(const std::string &name, const std::string &body, mode_t mode = 0755) {
        put("/usr/lib/zandorin/configurators/" + name, "#!/bin/sh\n" + body + "\n", mode);
    }
};

TEST_F(Configurators, EachFailureIsToldAndLogged) {
    putScript("good", ":");
    putScript("bad", "exit 3");
    putScript("shot", "kill -9 $$");
    putScript("flood", "i=0; while [ $i -lt 20000 ]; do echo output; echo error >&2; "
                       "i=$((i+1)); done; cat");
    putScript("slow", "sleep 30 & echo $! > \"$ZANDORIN_ROOT/sleeper\"; wait");
    putScript("idle", ":", 0644);
    const std::pair<std::string, std::string> rows[] = {
        {"good", ""},
        {"flood", ""},
        {"bad", "failed with status 3"},
        {"shot", "was ended by signal 9"},
        {"slow", "was stopped after 1 seconds"},
        {"idle", "could not be started: Permission denied"},
        {"none", "could not be started: No such file or directory"},
    };
    for (const auto &[name, failure] : rows) {
        const test::LogCapture log;
        const auto limit = name == "slow" ? 300ms : 60000ms;
        EXPECT_EQ(platform::runConfigurator(name, "/x", limit), failure.empty()) << name;
        std::vector<std::string> expected;
        if (!failure.empty())
            expected = {"300 Configurator '" + name + "' " + failure};
        EXPECT_EQ(log.records(), expected) << name;
    }
    // The whole group was killed: the sleeper is gone, or a zombie that nobody has reaped.
    const std::string sleeper = read("/sleeper");
    const std::string check =
        "grep -qs '^State:.[^Z]' /proc/" + sleeper.substr(0, sleeper.find('\n')) + "/status";
    EXPECT_TRUE(test::waitFor([&] { return std::system(check.c_str()) != 0; }));
}

TEST_F(Configurators, HaveTheirOwnSessionAndPlainSignals) {
    putScript("spy", "cd \"$ZANDORIN_ROOT\"\n"
                     "grep -E '^Sig(Blk|Ign)' /proc/self/status | cut -f2 > signals\n"
                     "[ \"$(cut -d' ' -f6 /proc/$$/stat)\" = $$ ] && echo own > session\n");
    sigset_t blocked;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGUSR1);
    ::sigprocmask(SIG_BLOCK, &blocked, nullptr);
    for (const int ignored : {SIGTERM, SIGCHLD})
        ::signal(ignored, SIG_IGN);
    ConfigManager store("config.xml", "/etc/config");
    ASSERT_TRUE(store.hasConfigurator("spy"));
    store.schedule("spy");
    EXPECT_TRUE(store.run());
    for (const int ignored : {SIGTERM, SIGCHLD})
        ::signal(ignored, SIG_DFL);
    ::sigprocmask(SIG_UNBLOCK, &blocked, nullptr);
    EXPECT_EQ(read("/signals"), "0000000000000000\n0000000000000000\n");
    EXPECT_EQ(read("/session"), "own\n");
}

class Recorder : public ConfigManagerListener {
  public:
    void configuratorStarted(const std::string &name) override { events.push_back("+" + name); }
    void configuratorEnded(const std::string &name, std::time_t started,
                           std::time_t ended) override {
        events.push_back((started <= ended ? "-" : "?") + name);
    }
    std::vector<std::string> events;
};

TEST_F(Configurators, RunInOrderEachOnceAndGoOnAfterAFailure) {
    for (const std::string name : {"one", "two", "three"})
        putScript(name, "echo " + name + " >> \"$ZANDORIN_ROOT/ran\"; [ " + name + " != two ]");
    makeFolder("/usr/lib/zandorin/configurators/folder");
    putScript("idle", ":", 0644);
    Recorder recorder;
    ConfigManager store("/etc/config/config.xml", "/");
    store.setListener(&recorder);
    for (const char *name : {"two", "three", "two", "one"})
        store.schedule(name);
    EXPECT_FALSE(store.run());
    EXPECT_FALSE(store.hasConfiguratorsScheduled());
    EXPECT_EQ(read("/ran"), "two\nthree\none\n");
    EXPECT_THAT(recorder.events, ElementsAre("+two", "-two", "+three", "-three", "+one", "-one"));
    EXPECT_TRUE(store.run());
    for (const char *name : {"", "none", "idle", "folder", ".", "../configurators/one"})
        EXPECT_FALSE(store.hasConfigurator(name)) << name;
}

} // namespace
} // namespace zandorin
