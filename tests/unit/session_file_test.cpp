#include "cgi/session_activity.h"
#include "cgi/session_file.h"
#include "tests/support/appliance_test.h"

#include <cstdint>

#include <fcntl.h>
#include <sys/file.h>

namespace zandorin {
namespace {

using SessionFile = test::ApplianceTest;

const std::string path = "/var/run/.sessions/session-abc";

TEST(SessionId, NamesNothingOutsideItsFolder) {
    EXPECT_TRUE(isSessionId("A-b_9z"));
    for (const std::string &id : {std::string(), std::string(".."), std::string("a/b"),
                                  std::string("\xe4"), std::string("a\0b", 3)}) {
        EXPECT_FALSE(isSessionId(id)) << id;
        EXPECT_EQ(sessionPath(id), "") << id;
    }
}

TEST(SessionUsername, ReadsBackAsItself) {
    for (const char *name : {"root", "j.smith@example.com", "DOMAIN\\user", "\xe4rla"})
        EXPECT_TRUE(isSessionUsername(name)) << name;
    for (const char *name : {"", "root x", "root=x", "root\nauth_state", "root\x7f", "(empty"})
        EXPECT_FALSE(isSessionUsername(name)) << name;
}

TEST_F(SessionFile, IsWrittenInItsOrderAndReadBack) {
    makeFolder("/var/run");
    const SessionRecord record{"root", 1700000000,    4711, 7,         20,
                               true,   "2001:db8::1", "",   5000000000};
    ASSERT_TRUE(writeSessionRecord("abc", record));
    EXPECT_EQ(read(path), "username = root\nexpiry_time = 1700000000\nauth_pid = 4711\n"
                          "auth_state = 7\nsession_len = 20\nautorefresh = true\n"
                          "src_ip = 2001:db8::1\nsrc_port = \nsession_start = 5000000000\n");
    EXPECT_EQ(modeOf(path), 0600U);
    EXPECT_EQ(modeOf("/var/run/.sessions"), 0700U);
    EXPECT_EQ(readSessionRecord("abc"), record);
}

TEST_F(SessionFile, AnActivityThatCannotBeReckonedWithIsNone) {
    for (const char *text : {"1700000000 soon 20 0 -\n", "0 -9223372036854775808 20 0 -\n"}) {
        put("/var/run/.sessions/.activity", text);
        EXPECT_FALSE(SessionActivity::load()) << text;
    }
}

TEST_F(SessionFile, ASessionThatWasEndedStaysEnded) {
    SessionRecord record{.username = "root"};
    makeFolder("/var/run");
    EXPECT_FALSE(updateSessionRecord("abc", record));
    ASSERT_TRUE(writeSessionRecord("abc", record));
    record.authState = 7;
    EXPECT_TRUE(updateSessionRecord("abc", record));
    EXPECT_EQ(readSessionRecord("abc"), record);
    record.sourcePort = "40000"; // a longer text than before
    EXPECT_TRUE(updateSessionRecord("abc", record));
    EXPECT_EQ(readSessionRecord("abc"), record);
    removeSessionRecord("abc");
    EXPECT_FALSE(updateSessionRecord("abc", record));
    EXPECT_FALSE(exists(path));
}

TEST_F(SessionFile, AStuckHolderOfALockIsNotWaitedFor) {
    using namespace std::chrono_literals;
    makeFolder("/var/run");
    const SessionRecord record{.username = "root", .expiryTime = 1700000000, .authState = 7};
    ASSERT_TRUE(writeSessionRecord("abc", record));
    const UniqueFd file(::open(sessionPath("abc").c_str(), O_RDWR | O_CLOEXEC));
    const UniqueFd folder = lockSessions();
    ASSERT_EQ(::flock(file.get(), LOCK_EX), 0);
    const auto taken = [](auto work) {
        const auto start = std::chrono::steady_clock::now();
        work();
        return std::chrono::steady_clock::now() - start;
    };
    EXPECT_LT(taken([&] { EXPECT_EQ(readSessionRecord("abc"), record); }), 1500ms);
    EXPECT_LT(taken([&] { EXPECT_FALSE(updateSessionRecord("abc", record)); }), 2500ms);
    EXPECT_LT(taken([&] { EXPECT_FALSE(readSessionRecord("abc", 0ms)); }), 500ms);
    EXPECT_LT(taken([&] { removeSessionRecord("abc"); }), 1500ms);
    EXPECT_FALSE(exists(path)) << "what is to end does";
}

TEST_F(SessionFile, AUserKeepsTheNewestSessions) {
    makeFolder("/var/run");
    const std::tuple<const char *, const char *, int, int> rows[] = {
        // Id, user, state, start.
        {"a", "ann", 7, 30}, {"b", "ann", 7, 10}, {"c", "ann", 7, 20},
        {"d", "ann", 2, 1},  {"e", "bea", 7, 1},  {"new", "ann", 7, 5}};
    for (const auto &[id, user, state, start] : rows)
        ASSERT_TRUE(writeSessionRecord(
            id, {.username = user, .expiryTime = 1, .authState = state, .sessionStart = start}));
    const auto left = [] {
        std::string ids;
        for (const std::string &id : listSessionIds())
            ids += id + " ";
        return ids;
    };
    limitSessionsOf("ann", 4, "new");
    EXPECT_EQ(left(), "a b c d e new ");
    limitSessionsOf("ann", 3, "new");
    EXPECT_EQ(left(), "a c d e new ") << "an unfinished login does not count";
    limitSessionsOf("ann", 0, "new");
    EXPECT_EQ(left(), "d e new ");
    removeSessionsOf("ann", "new");
    EXPECT_EQ(left(), "e new ");
}

TEST_F(SessionFile, WhoReadsDuringARefreshReadsTheOldOrTheNew) {
    makeFolder("/var/run");
    const SessionRecord old{"root", 1111111111, 11, 7, 11, true, "1.1.1.1", "11111", 1111111111};
    const SessionRecord fresh{"root", 2022222222, 22, 1, 22, true, "2.2.2.2", "22222", 2022222222};
    ASSERT_TRUE(writeSessionRecord("abc", old));
    std::thread writer([&] {
        for (int round = 0; round < 10000; ++round)
            EXPECT_TRUE(updateSessionRecord("abc", round % 2 == 0 ? fresh : old));
    });
    for (int round = 0; round < 10000; ++round) {
        const auto record = readSessionRecord("abc");
        EXPECT_TRUE(record == old || record == fresh);
    }
    writer.join();
    EXPECT_EQ(readSessionRecord("abc"), old);
}

TEST_F(SessionFile, ReadsFirstWordsAndRefusesTornFiles) {
    const std::string whole = "username = root\nexpiry_time = 99\nauth_pid = 8\nauth_state = 7\n";
    const std::tuple<const char *, std::string, std::string> rows[] = {
        // Name, contents, and what is read: user, expiry, and state, or nothing.
        {"whole", whole, "root 99 7"},
        {"first word", "username = John Smith\nexpiry_time = 1\nauth_state = 7", "John 1 7"},
        {"any delimiters", "username=root\nexpiry_time 5\n = auth_state == 7 ==", "root 5 7"},
        {"large", "username = a\nexpiry_time = 99999999999999999999\nauth_state = 7",
         "a 2147483647 7"},
        {"2^32", "username = a\nexpiry_time = 1\nauth_state = 4294967303", "a 1 2147483647"},
        {"torn in the state", whole.substr(0, whole.size() - 2), ""},
        {"no expiry", "username = root\nauth_state = 7\n", ""},
        {"no user", "username = \nexpiry_time = 99\nauth_state = 7\n", ""},
        {"far too large a file", whole + std::string(100000, 'x'), ""},
    };
    for (const auto &[name, contents, read] : rows) {
        put(path, contents);
        const auto record = readSessionRecord("abc");
        EXPECT_EQ(record ? record->username + " " + std::to_string(record->expiryTime) + " " +
                               std::to_string(record->authState)
                         : "",
                  read)
            << name;
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
