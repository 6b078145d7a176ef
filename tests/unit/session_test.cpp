#include "cgi/session.h"

#include "cgi/session_activity.h"
#include "cgi/session_file.h"
#include "platform/pam-client/protocol.h"
#include "tests/support/appliance_test.h"
#include "tests/support/log_capture.h"
#include "tests/support/mock_helper.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <optional>

#include <csignal>
#include <gmock/gmock.h>
#include <poll.h>
#include <unistd.h>

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

    static bool stored(const std::string &id) { return exists("/var/run/.sessions/session-" + id); }

    const ScopedEnvironment address_{"REMOTE_ADDR", "198.51.100.7"};
    const ScopedEnvironment port_{"REMOTE_PORT", "40000"};
    const ScopedEnvironment cookie_{"HTTP_COOKIE", nullptr};
};

TEST_F(SessionTest, CollectsTheIdsOfItsCookies) {
    using Ids = std::vector<std::string>;
    const struct {
        const char *header;
        Ids ids;
    } rows[] = {
        {"a=1; ZdSessionId=abc; ZdSessionId=def", {"abc", "def"}},
        {"ZdSessionId=abc", {"abc"}},
        {"\t ZdSessionId\t=\tabc\r\n", {"abc"}},
        {"ZdSessionId=ZdSessionId=abc", {"ZdSessionId"}},
        {"ZdSessionId=../../etc/passwd", {"../../etc/passwd"}},
        {"ZdSessionId", {}},
        {"ZdSessionId=;", {}},
        {"zdsessionid=abc; XZdSessionId=abc", {}},
        {"", {}},
        {";;==\r\n", {}},
    };
    for (const auto &row : rows) {
        const ScopedEnvironment cookie("HTTP_COOKIE", row.header);
        EXPECT_EQ(Session::getSessionCookies(), row.ids) << row.header;
    }
    EXPECT_TRUE(Session::getSessionCookies().empty()) << "no header";
}

TEST_F(SessionTest, IdsAreHiddenInTheLog) {
    const ScopedEnvironment cookie("HTTP_COOKIE", "a=1; ZdSessionId=abc;ZdSessionId=d\x1b; b=2");
    const LogCapture log;
    Session::getSessionCookies();
    EXPECT_EQ(log.records(),
              (std::vector<std::string>{
                  "700 Cookie: a=1; ZdSessionId=********;ZdSessionId=********; b=2", "700 Tok = a",
                  "700 Tok = 1", "700 Tok = ZdSessionId", "700 Tok = ********",
                  "700 Session id ******** found", "700 Tok = ZdSessionId", "700 Tok = ********",
                  "700 Session id ******** found", "700 Tok = b", "700 Tok = 2"}));
}

TEST_F(SessionTest, TheFirstIdWithAFileCounts) {
    store("second", {.authState = Session::state_authenticated});
    store("third", {.username = "other", .authState = Session::state_authenticated});
    put("/var/run/secret", "username = root\nexpiry_time = 2000000000\nauth_state = 7\n");
    const std::string hostile = "ZdSessionId=../secret; ZdSessionId=" + std::string(60000, 'x') +
                                "; ZdSessionId=\x01\xff; ZdSessionId=second; ZdSessionId=third";
    const ScopedEnvironment cookie("HTTP_COOKIE", hostile.c_str());
    const Session session;
    EXPECT_EQ(session.sessionId(), "second");
    EXPECT_EQ(session.username(), "root");
    EXPECT_TRUE(session.authSuccess());
}

TEST_F(SessionTest, CookieLineIsSecureOnlyWhenHttpsIsOn) {
    store("abc", {.authState = Session::state_authenticated});
    const Session session("abc", true);
    for (const char *https : {"ON", "1", ""}) {
        const ScopedEnvironment variable("HTTPS", https);
        EXPECT_EQ(session.cookieLine(), "Set-Cookie: ZdSessionId=abc; HttpOnly") << https;
    }
    const ScopedEnvironment variable("HTTPS", "on");
    EXPECT_EQ(session.cookieLine(), "Set-Cookie: ZdSessionId=abc; HttpOnly; Secure");
}

TEST_F(SessionTest, OnlyAWholeUnexpiredFileOfARealUserIsALogin) {
    const std::string later = "expiry_time = " + std::to_string(soon()) + "\n";
    const struct {
        const char *name;
        std::string contents;
        const char *user; ///< null: refused and deleted
    } rows[] = {
        {"whole", "username = root\n" + later + "auth_state = 7\n", "root"},
        {"first word of a name", "username = John Smith\n" + later + "auth_state = 7\n", "John"},
        {"far expiry", "username = root\nexpiry_time = 99999999999999\nauth_state = 7\n", "root"},
        {"expired", "username = root\nexpiry_time = 1600000000\nauth_state = 7\n", nullptr},
        {"empty name", "username = (empty username)\n" + later + "auth_state = 7\n", nullptr},
        {"bad name", "username = (malformed username)\n" + later + "auth_state = 7\n", nullptr},
        {"no name", later + "auth_state = 7\n", nullptr},
        {"no state", "username = root\n" + later, nullptr},
        {"no expiry", "username = root\nauth_state = 7\n", nullptr},
        {"unfinished without helper", "username = root\n" + later + "auth_state = 2\n", nullptr},
        // Its process group would be signalled, this test first.
        {"own group as helper", "username = root\nexpiry_time = 1\nauth_pid = 0\nauth_state = 7\n",
         nullptr},
    };
    ::setpgid(0, 0);
    for (const auto &row : rows) {
        put("/var/run/.sessions/session-abc", row.contents);
        const Session session("abc", true);
        EXPECT_EQ(session.authSuccess(), row.user != nullptr) << row.name;
        EXPECT_EQ(stored("abc"), row.user != nullptr) << row.name;
        if (row.user != nullptr) {
            EXPECT_EQ(session.username(), row.user) << row.name;
        }
    }
}

TEST_F(SessionTest, FailedLoginsAreValidButNoSuccess) {
    const struct {
        std::int32_t state;
        const char *text;
        bool success;
    } rows[] = {
        {6, "failed", false},
        {7, "authenticated", true},
        {8, "failed", false},
    };
    for (const auto &row : rows) {
        store("abc", {.authState = row.state});
        const Session session("abc", true);
        EXPECT_TRUE(session.isValid()) << row.state;
        EXPECT_TRUE(session.authFinalised()) << row.state;
        EXPECT_EQ(session.authSuccess(), row.success) << row.state;
        EXPECT_EQ(session.authStatusString(), row.text);
    }
    EXPECT_EQ(Session().authStatusString(), "challenge-in-progress");
}

TEST_F(SessionTest, EveryRequestRefreshesEverybodyAndClearsWhatExpired) {
    MockHelper helper({});
    const std::int32_t early = soon();
    store("mine", {.expiryTime = early, .authState = 7, .sessionLength = 60, .autorefresh = true});
    store("theirs",
          {.expiryTime = early, .authState = 7, .sessionLength = 60, .autorefresh = true});
    store("fixed", {.expiryTime = early, .authState = 7, .sessionLength = 60});
    store("endless",
          {.expiryTime = early, .authState = 7, .sessionLength = INT32_MAX, .autorefresh = true});
    store("failed",
          {.expiryTime = early, .authState = 8, .sessionLength = 60, .autorefresh = true});
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
    EXPECT_EQ(readSessionRecord("mine")->sourceIp, "198.51.100.7");
    EXPECT_EQ(readSessionRecord("mine")->sourcePort, "40000");
    EXPECT_EQ(readSessionRecord("mine")->sessionStart, 1600000000);
    EXPECT_EQ(readSessionRecord("theirs")->sourceIp, "192.0.2.1");
    EXPECT_EQ(readSessionRecord("theirs")->sourcePort, "1024");
    EXPECT_FALSE(stored("old"));
    EXPECT_EQ(helper.endedBy(), SIGTERM);
}

/// So many that a request does not look at each.
class CrowdTest : public SessionTest {
  protected:
    static constexpr int count = 200;
    const std::int32_t now_ = static_cast<std::int32_t>(std::time(nullptr));

    void SetUp() override {
        SessionTest::SetUp();
        for (int n = 0; n < count; ++n)
            store(
                "s" + std::to_string(1000 + n),
                {.expiryTime = now_ + 5, .authState = 7, .sessionLength = 20, .autorefresh = true});
    }

    static int storedCount() { return static_cast<int>(listSessionIds().size()); }
    static int freshCount(std::int32_t since) {
        const auto ids = listSessionIds();
        return static_cast<int>(std::count_if(ids.begin(), ids.end(), [since](const auto &id) {
            return readSessionRecord(id)->expiryTime > since;
        }));
    }
    static void remember(std::int64_t since, std::int64_t last) {
        SessionActivity activity;
        activity.since = since;
        activity.last = last;
        activity.shortest = 20;
        ASSERT_TRUE(activity.save());
    }
};

TEST_F(CrowdTest, TheFirstRequestLooksAtEachAndLaterOnesAtSome) {
    Session::clearOldSessions();
    EXPECT_EQ(freshCount(now_ + 60), count);
    for (int n = 0; n < count; ++n)
        store("s" + std::to_string(1000 + n),
              {.expiryTime = now_ + 5, .authState = 7, .sessionLength = 20, .autorefresh = true});
    remember(now_ - 3600, now_ - 1);
    Session::clearOldSessions();
    EXPECT_EQ(freshCount(now_ + 60), 32);
    for (int request = 0; request < 6; ++request) {
        auto activity = SessionActivity::load();
        ASSERT_TRUE(activity);
        --activity->last; // a second goes by
        ASSERT_TRUE(activity->save());
        Session::clearOldSessions();
    }
    EXPECT_EQ(freshCount(now_ + 60), count) << "each in its turn";
    EXPECT_EQ(storedCount(), count);
}

TEST_F(CrowdTest, AnyRequestKeepsEveryRefreshingSessionAlive) {
    const SessionRecord stale = {
        .expiryTime = now_ - 60, .authState = 7, .sessionLength = 20, .autorefresh = true};
    const struct {
        const char *name;
        std::int64_t since, last; ///< seconds before now
        SessionRecord record;
        bool alive;
    } rows[] = {
        {"used all the time", 3600, 30, stale, true},
        {"a long pause", 3600, 1300, stale, false},
        {"a long pause since its last refresh", 600, 30, stale, false},
        {"clock set back", 3600, -100, stale, true},
        {"does not refresh itself", 3600, 30, {.expiryTime = now_ - 60, .authState = 7}, false},
        {"failed login",
         3600,
         30,
         {.expiryTime = now_ - 60, .authState = 8, .sessionLength = 20, .autorefresh = true},
         false},
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
    auto activity = SessionActivity::load();
    ASSERT_TRUE(activity);
    EXPECT_EQ(activity->firstEnd, now_ + 1000);
    EXPECT_EQ(activity->shortest, 20);

    store("fixed", {.expiryTime = now_ - 1, .authState = 7});
    activity->firstEnd = now_ - 1;
    ASSERT_TRUE(activity->save());
    Session::clearOldSessions();
    EXPECT_FALSE(stored("fixed"));
    EXPECT_EQ(storedCount(), count);

    // Nobody came for longer than any session lives.
    for (const std::string &id : listSessionIds())
        store(id,
              {.expiryTime = now_ - 100, .authState = 7, .sessionLength = 20, .autorefresh = true});
    remember(now_ - 7200, now_ - 1300);
    Session::clearOldSessions();
    EXPECT_EQ(storedCount(), 0);
}

TEST_F(SessionTest, AnUnfinishedLoginOfSomebodyElseIsOnlyLookedFor) {
    MockHelper alive({});
    store("pending", {.authPid = alive.pid(), .authState = Session::state_challenge});
    store("dead", {.authPid = INT32_MAX, .authState = Session::state_challenge});
    const Session session;
    EXPECT_TRUE(stored("pending"));
    EXPECT_FALSE(stored("dead"));
    EXPECT_EQ(alive.requests(), "");
}

TEST_F(SessionTest, TakesNothingFromAHelperButItsProtocol) {
    const std::string id = bytes(Message::sessionId, "abc");
    const struct {
        const char *name;
        std::string answer;
        std::optional<std::int32_t> state; ///< none: the session is ended
        const char *prompt = "";
        int delayMs = 0;
    } rows[] = {
        {"authenticated", id + authenticated, 7},
        {"authenticated, late", id + authenticated, 7, "", 600},
        {"rejected", id + bytes(Message::rejected) + end, 8},
        {"helper error", bytes(Message::helperError) + end, 6},
        {"challenge", id + bytes(Message::challenge, "Code\n\xff: ") + end, 2, "Code\n\xff: "},
        {"nothing new", end, 1},
        {"types that mean nothing", bytes(Message{42}) + bytes(Message::reply) + authenticated, 7},
        {"closes at once", "", std::nullopt},
        {"no end", id + bytes(Message::authenticated), std::nullopt},
        {"torn text", bytes(Message::challenge, "abc", 10), std::nullopt},
        {"2 GB", bytes(Message::challenge, "abc", 0x7fffffff), std::nullopt},
        {"4 GB", bytes(Message::sessionId, "abc", 0xffffffff) + authenticated, std::nullopt},
        {"id that is a path", bytes(Message::sessionId, "../x") + authenticated, std::nullopt},
        {"id with a header", bytes(Message::sessionId, "a\r\nX: y") + authenticated, std::nullopt},
        {"empty id", bytes(Message::sessionId, "") + authenticated, std::nullopt},
    };
    for (const auto &row : rows) {
        MockHelper helper({row.answer}, row.delayMs);
        store("abc", {.authPid = helper.pid(), .authState = Session::state_id_received});
        const Session session("abc", true);
        EXPECT_EQ(helper.requests(), "10:198.51.100.7 1:abc 127\n") << row.name;
        EXPECT_EQ(session.isValid(), row.state.has_value()) << row.name;
        EXPECT_EQ(session.authSuccess(), row.state == 7) << row.name;
        if (row.state) {
            EXPECT_EQ(session.authStatus(), *row.state) << row.name;
            EXPECT_EQ(session.getPrompt(), row.prompt) << row.name;
            EXPECT_EQ(readSessionRecord("abc")->authState, *row.state) << row.name;
        } else {
            EXPECT_FALSE(stored("abc")) << row.name;
            EXPECT_EQ(helper.endedBy(), SIGTERM) << row.name;
        }
    }
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
    EXPECT_EQ(helper.requests(), "10:198.51.100.7 1:abc 127\n"
                                 "10:198.51.100.7 1:abc 4:000000 127\n"
                                 "10:198.51.100.7 1:abc 4:755224 127\n");
    EXPECT_EQ(readSessionRecord("abc")->authState, Session::state_authenticated);
}

/// A login whose helper is a script that starts slowly, next to a mock that listens in its place.
class LoginTest : public SessionTest {
  protected:
    void SetUp() override {
        SessionTest::SetUp();
        put("/bin/pam-client",
            "#!/bin/sh\ncd \"$ZANDORIN_ROOT\"\n"
            "trap 'touch terminated; kill $!; exit' TERM\n"
            "echo \"$*\" >arguments\necho $$ >started\nsleep 20 &\nwait\n",
            0755);
    }
};

TEST_F(LoginTest, StartsAHelperAndStoresTheSession) {
    MockHelper helper({bytes(Message::sessionId, "abc") + authenticated}, 0, "/started");
    LogCapture log;
    Session session("root", "kestrel", 20, true, false);
    const auto expiry = std::time(nullptr) + 1200;
    EXPECT_TRUE(session.authSuccess());
    EXPECT_EQ(session.sessionId(), "abc");
    EXPECT_EQ(helper.requests(), "0:root 10:198.51.100.7 4:kestrel 127\n");
    EXPECT_EQ(get("/arguments"), "\n");
    const auto record = readSessionRecord("abc").value_or(SessionRecord());
    EXPECT_EQ(record.authPid, std::stoi(get("/started")));
    EXPECT_NEAR(record.expiryTime, static_cast<double>(expiry), 5);
    EXPECT_EQ(record.sourceIp, "198.51.100.7");
    EXPECT_NEAR(static_cast<double>(record.sessionStart), static_cast<double>(expiry - 1200), 5);
    EXPECT_TRUE(log.has("700 Session::initNewSession(root, ********)"));
    EXPECT_THAT(log.records(), Not(::testing::Contains(HasSubstr("kestrel"))));

    session.deleteSession();
    EXPECT_FALSE(session.isValid());
    EXPECT_FALSE(stored("abc"));
    for (int tries = 0; tries < 500 && !exists("/terminated"); ++tries)
        ::poll(nullptr, 0, 10);
    EXPECT_TRUE(exists("/terminated"));
}

TEST_F(LoginTest, PlaceholdersAndNamesThatWouldReadBackAsOthersNeverSucceed) {
    for (const char *name : {"(empty username)", "root x", "root=x", "root\nx = y"}) {
        MockHelper helper({bytes(Message::sessionId, "abc") + authenticated}, 0, "/started");
        Session session(name, "kestrel", 20, true, true);
        EXPECT_TRUE(session.isValid()) << name;
        EXPECT_FALSE(session.authSuccess()) << name;
        EXPECT_EQ(get("/arguments"), "-o\n");
        EXPECT_FALSE(Session("abc", true).authSuccess()) << name;
        session.deleteSession();
        SetUp();
    }
}

TEST_F(LoginTest, FailsWithoutAHelper) {
    put("/bin/pam-client", "#!/bin/sh\nexit 1\n", 0755);
    Session session("root", "kestrel", 20, true, false);
    EXPECT_FALSE(session.isValid());
    EXPECT_EQ(session.authStatus(), Session::state_helper_failed);
    EXPECT_TRUE(listSessionIds().empty());
}

} // namespace
} // namespace zandorin
