#include "cgi/session.h"

#include "cgi/session_activity.h"
#include "cgi/session_file.h"
#include "platform/pam-client/protocol.h"
#include "tests/support/appliance_test.h"
#include "tests/support/auth_messages.h"
#include "tests/support/log_capture.h"
#include "util/fd.h"

#include <cstdint>
#include <ctime>

#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

namespace zandorin {
namespace {

using auth::Message;
using test::bytes;
using test::LogCapture;
using test::ScopedEnvironment;
using ::testing::HasSubstr;
using ::testing::Not;

const std::string end = bytes(Message::end);
const std::string authenticated = bytes(Message::authenticated) + end;

/// The authentication helpers of a test. There is one wherever connect(2) is told that one listens,
/// and who is to be ended is only noted.
struct Helpers {
    std::set<pid_t> listening = {};
    bool listenEverywhere = false;
    std::vector<std::string> answers = {}; ///< one a connection, from the last to the first
    std::vector<pid_t> ended = {};
    std::vector<UniqueFd> connections = {};

    int connect(int socket, pid_t pid) {
        int ends[2];
        if ((!listenEverywhere && !listening.contains(pid)) ||
            ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
            errno = ECONNREFUSED;
            return -1;
        }
        const UniqueFd near(ends[0]);
        connections.emplace_back(ends[1]);
        const std::string answer = answers.empty() ? "" : answers.back();
        if (!answers.empty())
            answers.pop_back();
        EXPECT_EQ(::write(ends[1], answer.data(), answer.size()),
                  static_cast<ssize_t>(answer.size()));
        ::shutdown(ends[1], SHUT_WR);
        return ::dup3(near.get(), socket, O_CLOEXEC) == socket ? 0 : -1;
    }

    /// What came, one line a connection, such as "1:abc 4:secret 127".
    std::string requests() {
        std::string lines;
        for (const UniqueFd &connection : std::exchange(connections, {})) {
            while (const auto type = auth::readType(connection.get())) {
                lines += std::to_string(*type);
                if (static_cast<Message>(*type) != Message::end)
                    lines += ":" + auth::readText(connection.get()).value_or("(torn)") + " ";
            }
            lines += "\n";
        }
        return lines;
    }
};
Helpers *helpers = nullptr; ///< of the test that runs

} // namespace
} // namespace zandorin

// In the place of the C library's.
extern "C" {

int kill(pid_t pid, int signal) noexcept {
    if (zandorin::helpers == nullptr)
        return static_cast<int>(::syscall(SYS_kill, pid, signal));
    EXPECT_EQ(signal, SIGTERM);
    zandorin::helpers->ended.push_back(pid);
    return 0;
}

int connect(int socket, const sockaddr *address, socklen_t size) {
    if (zandorin::helpers == nullptr)
        return static_cast<int>(::syscall(SYS_connect, socket, address, size));
    const std::string path = reinterpret_cast<const sockaddr_un *>(address)->sun_path;
    return zandorin::helpers->connect(socket, std::stoi(path.substr(path.rfind('-') + 1)));
}

int usleep(useconds_t) {
    return 0;
}
}

namespace zandorin {
namespace {

std::int32_t soon() {
    return static_cast<std::int32_t>(std::time(nullptr)) + 600;
}

class SessionTest : public test::ApplianceTest {
  protected:
    void SetUp() override {
        clear();
        makeFolder("/var/run/.sessions");
        helpers = &helpers_;
    }
    void TearDown() override { helpers = nullptr; }

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

    Helpers helpers_;
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
    helpers_.listening = {4711};
    const std::int32_t early = soon();
    store("mine", refreshing(early, 60));
    store("theirs", refreshing(early, 60));
    store("fixed", {.expiryTime = early, .authState = 7, .sessionLength = 60});
    store("endless", refreshing(early, INT32_MAX));
    store("failed", refreshing(early, 60, 8));
    store("old", {.expiryTime = 1600000000, .authPid = 4711, .authState = 7});
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
    EXPECT_EQ(helpers_.ended, std::vector<pid_t>{4711});
}

TEST_F(SessionTest, OnlyAHelperIsSignalled) {
    // Init, where a helper seems to listen; everybody; a process that got the id of a helper.
    helpers_.listening = {1, 0, -1};
    for (const pid_t pid : {1, 0, -1, 4711}) {
        store("old", {.expiryTime = 1600000000, .authPid = pid, .authState = 7});
        const Session session("old", true);
        EXPECT_FALSE(stored("old")) << pid;
    }
    EXPECT_TRUE(helpers_.ended.empty());
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
    helpers_.listening = {4711};
    store("pending", {.authPid = 4711, .authState = Session::state_challenge});
    store("dead", {.authPid = INT32_MAX, .authState = Session::state_challenge});
    const Session session;
    EXPECT_TRUE(stored("pending"));
    EXPECT_FALSE(stored("dead"));
    // Neither is this request's own, where it waits for nothing.
    const ScopedEnvironment cookie("HTTP_COOKIE", "ZdSessionId=pending");
    const Session own(Session::Helper::lookedFor);
    EXPECT_TRUE(own.isValid() && !own.authSuccess());
    EXPECT_THAT(helpers_.requests(), ::testing::MatchesRegex("\n+")) << "no word to it";
}

TEST_F(SessionTest, RelaysTheReplyToAChallenge) {
    const std::string challenge = bytes(Message::challenge, "Code: ") + end;
    helpers_.listening = {4711};
    helpers_.answers = {authenticated, challenge, challenge};
    store("abc", {.authPid = 4711, .authState = Session::state_challenge});
    Session session("abc", true);
    EXPECT_EQ(session.getPrompt(), "Code: ");
    EXPECT_TRUE(session.setReply("000000"));
    EXPECT_EQ(session.authStatus(), Session::state_challenge);
    EXPECT_TRUE(session.setReply("755224"));
    EXPECT_TRUE(session.authSuccess());
    EXPECT_TRUE(session.setReply("nobody asked"));
    const std::string from = "10:198.51.100.7 1:abc ";
    EXPECT_EQ(helpers_.requests(),
              from + "127\n" + from + "4:000000 127\n" + from + "4:755224 127\n");
    EXPECT_EQ(readSessionRecord("abc")->authState, Session::state_authenticated);
}

class LoginTest : public SessionTest {
  protected:
    void SetUp() override {
        SessionTest::SetUp();
        putProgram("/bin/pam-client", "echo \"$*\" >\"$ZANDORIN_ROOT/arguments\"");
        helpers_.listenEverywhere = true;
        helpers_.answers = {bytes(Message::sessionId, "abc") + authenticated};
    }
    static bool isStartedWith(const std::string &arguments) {
        return test::waitFor([&] { return read("/arguments") == arguments + "\n"; });
    }
};

TEST_F(LoginTest, StartsAHelperAndStoresTheSession) {
    LogCapture log;
    Session session("root", "kestrel", 20, true, false);
    const auto now = static_cast<double>(std::time(nullptr));
    EXPECT_TRUE(session.authSuccess());
    EXPECT_EQ(session.sessionId(), "abc");
    EXPECT_EQ(helpers_.requests(), "0:root 10:198.51.100.7 4:kestrel 127\n");
    EXPECT_TRUE(isStartedWith(""));
    const auto record = readSessionRecord("abc").value_or(SessionRecord());
    EXPECT_NEAR(record.expiryTime, now + 1200, 5);
    EXPECT_NEAR(static_cast<double>(record.sessionStart), now, 5);
    EXPECT_EQ(record.sourceIp, "198.51.100.7");
    EXPECT_TRUE(log.has("700 Session::initNewSession(root, ********)"));
    EXPECT_THAT(log.records(), Not(::testing::Contains(HasSubstr("kestrel"))));

    session.deleteSession();
    EXPECT_FALSE(session.isValid() || stored("abc"));
    EXPECT_EQ(helpers_.ended, std::vector<pid_t>{record.authPid});
}

TEST_F(LoginTest, PlaceholdersAndNamesThatWouldReadBackAsOthersNeverSucceed) {
    for (const char *name : {"(empty username)", "root x", "root=x", "root\nx = y"}) {
        SetUp();
        const Session session(name, "kestrel", 20, true, true);
        EXPECT_TRUE(session.isValid()) << name;
        EXPECT_FALSE(session.authSuccess()) << name;
        EXPECT_TRUE(isStartedWith("-o"));
        EXPECT_FALSE(Session("abc", true).authSuccess()) << name;
    }
}

TEST_F(LoginTest, FailsWithoutAHelper) {
    helpers_.listenEverywhere = false;
    Session session("root", "kestrel", 20, true, false);
    EXPECT_FALSE(session.isValid());
    EXPECT_EQ(session.authStatus(), Session::state_helper_failed);
    EXPECT_TRUE(listSessionIds().empty());
}

} // namespace
} // namespace zandorin
