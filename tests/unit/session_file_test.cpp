#include "cgi/session_activity.h"
#include "cgi/session_file.h"
#include "tests/support/appliance_test.h"

#include <cstdint>

namespace zandorin {
namespace {

using SessionFile = test::ApplianceTest;

const std::string path = "/var/run/.sessions/session-abc";

TEST(SessionId, NamesNothingOutsideItsFolder) {
    for (const char *id : {"abc", "0123456789abcdef", "A-b_9"})
        EXPECT_TRUE(isSessionId(id)) << id;
    for (const std::string id : {"", "..", "../x", "a/b", "a.b", "a b", "a\n", "\xe4", "a%2f"}) {
        EXPECT_FALSE(isSessionId(id)) << id;
        EXPECT_EQ(sessionPath(id), "") << id;
    }
    EXPECT_FALSE(isSessionId(std::string_view("a\0b", 3)));
}

TEST(SessionUsername, ReadsBackAsItself) {
    for (const char *name : {"root", "j.smith@example.com", "DOMAIN\\user", "\xe4rla"})
        EXPECT_TRUE(isSessionUsername(name)) << name;
    for (const char *name : {"", "root x", " root", "root=x", "=", "root\nauth_state", "root\x7f",
                             "(empty", "(malformed username)"})
        EXPECT_FALSE(isSessionUsername(name)) << name;
}

TEST_F(SessionFile, IsWrittenInItsOrderAndReadBack) {
    makeFolder("/var/run");
    const SessionRecord record{.username = "root",
                               .expiryTime = 1700000000,
                               .authPid = 4711,
                               .authState = 7,
                               .sessionLength = 20,
                               .autorefresh = true,
                               .sourceIp = "2001:db8::1",
                               .sourcePort = "",
                               .sessionStart = 5000000000};
    ASSERT_TRUE(writeSessionRecord("abc", record));
    EXPECT_EQ(get(path), "username = root\n"
                         "expiry_time = 1700000000\n"
                         "auth_pid = 4711\n"
                         "auth_state = 7\n"
                         "session_len = 20\n"
                         "autorefresh = true\n"
                         "src_ip = 2001:db8::1\n"
                         "src_port = \n"
                         "session_start = 5000000000\n");
    EXPECT_EQ(modeOf(path), 0600U);
    EXPECT_EQ(modeOf("/var/run/.sessions"), 0700U);
    const auto back = readSessionRecord("abc");
    ASSERT_TRUE(back);
    EXPECT_EQ(back->username, "root");
    EXPECT_EQ(back->authPid, 4711);
    EXPECT_EQ(back->autorefresh, true);
    EXPECT_EQ(back->sourceIp, "2001:db8::1");
    EXPECT_EQ(back->sourcePort, "");
    EXPECT_EQ(back->sessionStart, 5000000000);
}

TEST_F(SessionFile, NothingSmugglesInALine) {
    for (const char *text : {"root\nauth_state = 7", "root\r", "a\tb"}) {
        EXPECT_FALSE(writeSessionRecord("abc", {.username = text}));
        EXPECT_FALSE(writeSessionRecord("abc", {.username = "a", .sourceIp = text}));
        EXPECT_FALSE(writeSessionRecord("abc", {.username = "a", .sourcePort = text}));
    }
    EXPECT_FALSE(writeSessionRecord("../abc", {.username = "a"}));
    EXPECT_FALSE(exists("/var/run"));
}

TEST_F(SessionFile, AnActivityThatCannotBeReckonedWithIsNone) {
    const struct {
        const char *name;
        const char *text;
        bool isThere;
    } rows[] = {
        {"whole", "1700000000 1700000100 20 2147483647 abc\n", true},
        {"torn", "1700000000 1700000100 20 ", false},
        {"no number", "1700000000 soon 20 0 -\n", false},
        {"before all times", "0 -9223372036854775808 20 0 -\n", false},
        {"after all times", "0 9223372036854775807 20 0 -\n", false},
        {"lifetimes beyond any", "0 0 9223372036854775807 -9223372036854775808 -\n", true},
    };
    const SessionRecord record = {.expiryTime = 1, .sessionLength = INT32_MIN, .autorefresh = true};
    for (const auto &row : rows) {
        put("/var/run/.sessions/.activity", row.text);
        auto activity = SessionActivity::load();
        ASSERT_EQ(activity.has_value(), row.isThere) << row.name;
        if (!activity)
            continue;
        EXPECT_TRUE(activity->mayHaveEnded(INT64_MAX)) << row.name;
        activity->admit(record);
        EXPECT_TRUE(activity->save()) << row.name;
        EXPECT_EQ(SessionActivity::load(), activity) << row.name;
    }
}

TEST_F(SessionFile, ASessionThatWasEndedStaysEnded) {
    SessionRecord record{.username = "root"};
    makeFolder("/var/run");
    EXPECT_FALSE(updateSessionRecord("abc", record));
    ASSERT_TRUE(writeSessionRecord("abc", record));
    record.authState = 7;
    EXPECT_TRUE(updateSessionRecord("abc", record));
    EXPECT_EQ(readSessionRecord("abc").value_or(SessionRecord()).authState, 7);
    removeSessionRecord("abc");
    EXPECT_FALSE(updateSessionRecord("abc", record));
    EXPECT_FALSE(exists(path));
}

TEST_F(SessionFile, ReadsFirstWordsAndRefusesTornFiles) {
    const std::string whole = "username = root\nexpiry_time = 99\nauth_pid = 8\nauth_state = 7\n";
    const struct {
        const char *name;
        std::string contents;
        const char *username; ///< null: no session
        std::int32_t expiry;
        std::int32_t state;
    } rows[] = {
        {"whole", whole, "root", 99, 7},
        {"first word only", "username = John Smith\nexpiry_time = 1\nauth_state = 7", "John", 1, 7},
        {"any delimiters", "username=root\nexpiry_time 5\n = auth_state == 7 ==", "root", 5, 7},
        {"unknown keys", "x = y\n" + whole + "auth_stat = 8\n", "root", 99, 7},
        {"number with a tail", "username = a\nexpiry_time = 12x\nauth_state = x", "a", 12, 0},
        {"too large", "username = a\nexpiry_time = 99999999999999999999\nauth_state = 7", "a",
         INT32_MAX, 7},
        {"too small", "username = a\nexpiry_time = -9999999999\nauth_state = 7", "a", INT32_MIN, 7},
        {"2^32 is not 0", "username = a\nexpiry_time = 1\nauth_state = 4294967303", "a", 1,
         INT32_MAX},
        {"empty", "", nullptr, 0, 0},
        {"no state", "username = root\nexpiry_time = 99\nauth_pid = 8\n", nullptr, 0, 0},
        {"torn in the state", whole.substr(0, whole.size() - 2), nullptr, 0, 0},
        {"no expiry", "username = root\nauth_state = 7\n", nullptr, 0, 0},
        {"no user", "username = \nexpiry_time = 99\nauth_state = 7\n", nullptr, 0, 0},
        {"one long line", std::string(60000, '='), nullptr, 0, 0},
        {"far too large a file", whole + std::string(100000, 'x'), nullptr, 0, 0},
    };
    for (const auto &row : rows) {
        put(path, row.contents);
        const auto record = readSessionRecord("abc");
        ASSERT_EQ(record.has_value(), row.username != nullptr) << row.name;
        if (!record)
            continue;
        EXPECT_EQ(record->username, row.username) << row.name;
        EXPECT_EQ(record->expiryTime, row.expiry) << row.name;
        EXPECT_EQ(record->authState, row.state) << row.name;
    }
    EXPECT_FALSE(readSessionRecord("none"));
}

TEST_F(SessionFile, ListsSessionsAlone) {
    EXPECT_TRUE(listSessionIds().empty());
    for (const char *name : {"session-b", "session-a", "session-", ".new-abc", "session-a.b", "x"})
        put(std::string("/var/run/.sessions/") + name, "");
    EXPECT_EQ(listSessionIds(), (std::vector<std::string>{"a", "b"}));
}

} // namespace
} // namespace zandorin
