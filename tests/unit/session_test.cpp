#include "cgi/session.h"

#include "cgi/session_activity.h"
#include "cgi/session_file.h"
#include "platform/pam-client/protocol.h"
#include "tests/support/appliance_test.h"
#include "tests/support/log_capture.h"
#include "tests/support/mock_helper.h"

#include <cstdint>
#include <ctime>

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// To whom the tested code sent signals that no test may send: everybody, its own group, init.
std::vector<pid_t> withheld;

} // namespace

/// In the place of the C library's.
extern "C" int kill(pid_t pid, int signal) noexcept {
    if (pid < -1 || pid > 1)
        return static_cast<int>(::syscall(SYS_kill, pid, signal));
    withheld.push_back(pid);
    return 0;
}

namespace zandorin {
namespace {

using auth::Message;
using test::bytes;
using test::LogCapture;
using test::MockHelper;
using test::ScopedEnvironment;
using ::testing::HasSubstr;
using ::testing::Not;

const std::string end = bytes(Message::end);
const std::string authenticated = bytes(Message::authenticated) + end;

std::int32_t soon() {
    return static_cast<std::int32_t>(std::time(nullptr)) + 600;
}

class SessionTest : public test::ApplianceTest {
  protected:
    void SetUp() override {
        ApplianceTest::SetUp();
        makeFolder("/var/run/.sessions");
    }

    static void store(const std::string &id, SessionRecord record) {
        if (record.username.empty())
            record.username = "root";
        if (record.expiryTime == 0)
            record.expiryTime = soon();
        record.sourceIp = "192.0.2.1";
        record.sourcePort = "1024";
        record.sessionStart = 1600000000;
        ASSERT_TRUE(writeSessionRecord(id, record));
    }

    static SessionRecord refreshing(std::int32_t expiry, std::int32_t length = 20, int state = 7) {
        return {
            .expiryTime = expiry, .authState = state, .sessionLength = length, .autorefresh = true};
    }
    static bool stored(const std::string &id) { return exists("/var/run/.sessions/session-" + id); }

    const ScopedEnvironment address_{"REMOTE_ADDR", "198.51.100.7"};
    const ScopedEnvironment port_{"REMOTE_PORT", "40000"};
    const ScopedEnvironment cookie_{"HTTP_COOKIE", nullptr};
};

TEST_F(SessionTest, TheFirstIdWithAFileCountsAndIsHandedBack) {
    store("second", {.authState = 7});
    store("third", {.username = "other", .authState = 7});
    put("/var/run/secret", "username = root\nexpiry_time = 2000000000\nauth_state = 7\n");
    const ScopedEnvironment cookie("HTTP_COOKIE", "ZdSessionId=../secret; ZdSessionId=\x01\xff; "
                                                  "ZdSessionId=second; ZdSessionId=third");
    const Session session;
    EXPECT_EQ(session.sessionId() + " " + session.username(), "second root");
    EXPECT_TRUE(session.authSuccess());
    for (const std::string https : {"on", "ON", ""}) {
        const ScopedEnvironment variable("HTTPS", https.c_str());
        EXPECT_EQ(session.cookieLine(), std::string("Set-Cookie: ZdSessionId=second; HttpOnly") +
                                            (https == "on" ? "; Secure" : ""));
    }
}

TEST_F(SessionTest, EveryRequestRefreshesEverybodyAndClearsWhatExpired) {
    MockHelper helper({});
    const std::int32_t early = soon();
    store("mine", refreshing(early, 60));
    store("theirs", refreshing(early, 60));
    store("fixed", {.expiryTime = early, .authState = 7, .sessionLength = 60});
    store("endless", refreshing(early, INT32_MAX));
    store("failed", refreshing(early, 60, 8));
    store("old", {.expiryTime = 1600000000, .authPid = helper.pid(), .authState = 7});
    const ScopedEnvironment cookie("HTTP_COOKIE", "ZdSessionId=mine");
    const Session session;
    EXPECT_TRUE(session.authSuccess());

    const auto expiry = [](const char *id) { return readSessionRecord(id)->expiryTime; };
    EXPECT_NEAR(expiry("mine"), early + 3000, 5);
    EXPECT_NEAR(expiry("theirs"), early + 3000, 5);
    EXPECT_EQ(expiry("fixed"), early);
    EXPECT_EQ(expiry("failed"), early);
    EXPECT_EQ(expiry("endless"), INT32_MAX);
    const auto from = [](const char *id) {
        return readSessionRecord(id)->sourceIp + " " + readSessionRecord(id)->sourcePort;
    };
    EXPECT_EQ(from("mine"), "198.51.100.7 40000");
    EXPECT_EQ(from("theirs"), "192.0.2.1 1024");
    EXPECT_EQ(readSessionRecord("mine")->sessionStart, 1600000000);
    EXPECT_FALSE(stored("old"));
    EXPECT_EQ(helper.endedBy(), SIGTERM);
}

TEST_F(SessionTest, OnlyAHelperIsSignalled) {
    // Init, where a helper seems to listen; and a process that got the id of a helper that ended.
    put("/pid", "1\n");
    MockHelper init({}, 0, "/pid");
    test::waitFor([] { return exists("/var/run/auth-1"); });
    const pid_t other = ::fork();
    if (other == 0)
        for (;;)
            ::pause();
    for (const pid_t pid : {1, 0, -1, other}) {
        store("old", {.expiryTime = 1600000000, .authPid = pid, .authState = 7});
        const Session session("old", true);
        EXPECT_FALSE(stored("old")) << pid;
    }
    EXPECT_TRUE(withheld.empty());
    ::poll(nullptr, 0, 100);
    EXPECT_EQ(::waitpid(other, nullptr, WNOHANG), 0) << "was ended";
    ::kill(other, SIGKILL);
    ::waitpid(other, nullptr, 0);
}

TEST_F(SessionTest, SomebodyElsesLockedSessionIsPassedBy) {
    store("theirs", refreshing(static_cast<std::int32_t>(std::time(nullptr)) - 10));
    const UniqueFd file(::open(sessionPath("theirs").c_str(), O_RDWR | O_CLOEXEC));
    const UniqueFd folder = lockSessions();
    ASSERT_EQ(::flock(file.get(), LOCK_EX), 0);
    const auto start = std::chrono::steady_clock::now();
    const Session session;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
    EXPECT_TRUE(stored("theirs"));
}

/// So many that a request does not look at each.
class CrowdTest : public SessionTest {
  protected:
    static constexpr int count = 200;
    const std::int32_t now_ = static_cast<std::int32_t>(std::time(nullptr));

    void SetUp() override {
        SessionTest::SetUp();
        gather();
    }
    void gather() const {
        for (int n = 0; n < count; ++n)
            store("s" + std::to_string(1000 + n), refreshing(now_ + 5));
    }

    static std::size_t storedCount() { return listSessionIds().size(); }
    int freshCount() const {
        int fresh = 0;
        for (const std::string &id : listSessionIds())
            fresh += readSessionRecord(id)->expiryTime > now_ + 60 ? 1 : 0;
        return fresh;
    }
    static void remember(std::int64_t since, std::int64_t last, std::int32_t firstEnd = INT32_MAX) {
        const SessionActivity activity = {
            .since = since, .last = last, .shortest = 20, .firstEnd = firstEnd};
        ASSERT_TRUE(activity.save());
    }
};

TEST_F(CrowdTest, TheFirstRequestLooksAtEachAndLaterOnesAtSome) {
    Session::clearOldSessions();
    EXPECT_EQ(freshCount(), count);
    gather();
    remember(now_ - 3600, now_ - 1);
    Session::clearOldSessions();
    EXPECT_EQ(freshCount(), 32);
    for (int request = 0; request < 6; ++request) {
        auto activity = SessionActivity::load();
        ASSERT_TRUE(activity);
        --activity->last; // a second goes by
        ASSERT_TRUE(activity->save());
        Session::clearOldSessions();
    }
    EXPECT_EQ(freshCount(), count) << "each in its turn";
    EXPECT_EQ(storedCount(), std::size_t{count});
}

TEST_F(CrowdTest, AnyRequestKeepsEveryRefreshingSessionAlive) {
    const SessionRecord stale = refreshing(now_ - 60);
    const SessionRecord fixed = {.expiryTime = now_ - 60, .authState = 7};
    const struct {
        const char *name;
        std::int64_t since, last; ///< seconds before now
        SessionRecord record;
        bool alive;
    } rows[] = {
        {"used all the time", 3600, 30, stale, true},
        {"a long pause since its last refresh", 600, 30, stale, false},
        {"clock set back", 3600, -100, stale, true},
        {"does not refresh itself", 3600, 30, fixed, false},
        {"failed login", 3600, 30, refreshing(now_ - 60, 20, 8), false},
    };
    for (const auto &row : rows) {
        store("mine", row.record);
        remember(now_ - row.since, now_ - row.last);
        const Session session("mine", false);
        EXPECT_EQ(session.isValid(), row.alive) << row.name;
        EXPECT_EQ(stored("mine"), row.alive) << row.name;
    }
}

TEST_F(CrowdTest, WhatEndedIsCleared) {
    store("fixed", {.expiryTime = now_ + 1000, .authState = 7});
    Session::clearOldSessions();
    const auto activity = SessionActivity::load().value_or(SessionActivity());
    EXPECT_EQ(activity.firstEnd, now_ + 1000);
    EXPECT_EQ(activity.shortest, 20);

    store("fixed", {.expiryTime = now_ - 1, .authState = 7});
    remember(now_ - 60, now_ - 1, now_ - 1);
    Session::clearOldSessions();
    EXPECT_FALSE(stored("fixed"));
    EXPECT_EQ(storedCount(), std::size_t{count});

    // Nobody came for longer than any session lives.
    for (const std::string &id : listSessionIds())
        store(id, refreshing(now_ - 100));
    remember(now_ - 7200, now_ - 1300);
    Session::clearOldSessions();
    EXPECT_EQ(storedCount(), 0U);
}

TEST_F(SessionTest, AnUnfinishedLoginOfSomebodyElseIsOnlyLookedFor) {
    MockHelper alive({});
    store("pending", {.authPid = alive.pid(), .authState = Session::state_challenge});
    store("dead", {.authPid = INT32_MAX, .authState = Session::state_challenge});
    const Session session;
    EXPECT_TRUE(stored("pending"));
    EXPECT_FALSE(stored("dead"));
    // Neither is this request's own, where it waits for nothing.
    const ScopedEnvironment cookie("HTTP_COOKIE", "ZdSessionId=pending");
    const Session own(Session::Helper::lookedFor);
    EXPECT_TRUE(own.isValid() && !own.authSuccess());
    EXPECT_EQ(alive.requests(), "");
}

TEST_F(SessionTest, RelaysTheReplyToAChallenge) {
    const std::string challenge = bytes(Message::challenge, "Code: ") + end;
    MockHelper helper({challenge, challenge, authenticated});
    store("abc", {.authPid = helper.pid(), .authState = Session::state_challenge});
    Session session("abc", true);
    EXPECT_EQ(session.getPrompt(), "Code: ");
    EXPECT_TRUE(session.setReply("000000"));
    EXPECT_EQ(session.authStatus(), Session::state_challenge);
    EXPECT_TRUE(session.setReply("755224"));
    EXPECT_TRUE(session.authSuccess());
    EXPECT_TRUE(session.setReply("nobody asked"));
    const std::string from = "10:198.51.100.7 1:abc ";
    EXPECT_EQ(helper.requests(),
              from + "127\n" + from + "4:000000 127\n" + from + "4:755224 127\n");
    EXPECT_EQ(readSessionRecord("abc")->authState, Session::state_authenticated);
}

/// A login whose helper is a script that starts slowly, next to a mock that listens in its place.
class LoginTest : public SessionTest {
  protected:
    void SetUp() override {
        SessionTest::SetUp();
        putProgram("/bin/pam-client", "cd \"$ZANDORIN_ROOT\"\n"
                                      "trap 'touch terminated; kill $!; exit' TERM\n"
                                      "echo \"$*\" >arguments\n"
                                      "echo $$ >started\n"
                                      "sleep 20 &\n"
                                      "wait");
    }
};

TEST_F(LoginTest, StartsAHelperAndStoresTheSession) {
    MockHelper helper({bytes(Message::sessionId, "abc") + authenticated}, 0, "/started");
    LogCapture log;
    Session session("root", "kestrel", 20, true, false);
    const auto now = static_cast<double>(std::time(nullptr));
    EXPECT_TRUE(session.authSuccess());
    EXPECT_EQ(session.sessionId(), "abc");
    EXPECT_EQ(helper.requests(), "0:root 10:198.51.100.7 4:kestrel 127\n");
    EXPECT_EQ(read("/arguments"), "\n");
    const auto record = readSessionRecord("abc").value_or(SessionRecord());
    EXPECT_EQ(record.authPid, std::stoi(read("/started")));
    EXPECT_NEAR(record.expiryTime, now + 1200, 5);
    EXPECT_NEAR(static_cast<double>(record.sessionStart), now, 5);
    EXPECT_EQ(record.sourceIp, "198.51.100.7");
    EXPECT_TRUE(log.has("700 Session::initNewSession(root, ********)"));
    EXPECT_THAT(log.records(), Not(::testing::Contains(HasSubstr("kestrel"))));

    session.deleteSession();
    EXPECT_FALSE(session.isValid() || stored("abc"));
    EXPECT_TRUE(test::waitFor([] { return exists("/terminated"); }));
}

TEST_F(LoginTest, PlaceholdersAndNamesThatWouldReadBackAsOthersNeverSucceed) {
    for (const char *name : {"(empty username)", "root x", "root=x", "root\nx = y"}) {
        MockHelper helper({bytes(Message::sessionId, "abc") + authenticated}, 0, "/started");
        Session session(name, "kestrel", 20, true, true);
        EXPECT_TRUE(session.isValid()) << name;
        EXPECT_FALSE(session.authSuccess()) << name;
        EXPECT_EQ(read("/arguments"), "-o\n");
        EXPECT_FALSE(Session("abc", true).authSuccess()) << name;
        session.deleteSession();
        SetUp();
    }
}

TEST_F(LoginTest, FailsWithoutAHelper) {
    putProgram("/bin/pam-client", "exit 1");
    Session session("root", "kestrel", 20, true, false);
    EXPECT_FALSE(session.isValid());
    EXPECT_EQ(session.authStatus(), Session::state_helper_failed);
    EXPECT_TRUE(listSessionIds().empty());
}

} // namespace
} // namespace zandorin
