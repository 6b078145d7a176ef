#include "tests/support/appliance_test.h"
#include "tests/support/log_capture.h"
#include "util/files.h"
#include "util/log.h"
#include "util/strings.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace zandorin {
namespace {

using test::ApplianceTest;

TEST(Log, KeepsARecordOnOneLine) {
    const test::LogCapture log;
    logRecord(Priority::error, "user %s", "a\r\nb\x1b[2J\n");
    logRecord(Priority::trace, "not shown");
    EXPECT_EQ(log.records(), std::vector<std::string>{"300 user a??b?[2J\n"});
}

TEST(Strings, ParseWholeTakesNothingButANumber) {
    EXPECT_EQ(parseWhole("-05"), -5);
    EXPECT_EQ(parseWhole("9223372036854775807"), INT64_MAX);
    for (const char *text : {"", "-", "+5", " 5", "5 ", "9223372036854775808"})
        EXPECT_EQ(parseWhole(text), std::nullopt) << "'" << text << "'";
}

TEST(Strings, LeadingNumberReadsAsStrtollDoes) {
    for (const char *text :
         {"", "-", "+", "x1", "12", " \t\n\v\f\r-7x", "+5", "+-5", "-+5", "- 5", "0x1f",
          "9223372036854775807", "9223372036854775808", "-9223372036854775809"})
        EXPECT_EQ(leadingNumber(text), std::strtoll(text, nullptr, 10)) << "'" << text << "'";
}

TEST(Strings, TrimAndCase) {
    EXPECT_EQ(trim(" \t a b\r\n"), "a b");
    EXPECT_EQ(trim(" \n"), "");
    EXPECT_TRUE(equalsIgnoreCase("Allow", "aLLOW"));
    EXPECT_FALSE(equalsIgnoreCase("allow", "allows"));
    EXPECT_FALSE(startsWithIgnoreCase("mult", "multipart"));
}

using Files = ApplianceTest;

TEST_F(Files, ReplaceKeepsTheOldFileWhenItFails) {
    put("/etc/kept", "old");
    EXPECT_FALSE(replaceFile(onHost("/none/kept"), "new", 0600));
    EXPECT_EQ(errno, ENOENT);
    // A folder in the way makes the rename fail; no temporary file may stay behind.
    makeFolder("/etc/taken/inner");
    EXPECT_FALSE(replaceFile(onHost("/etc/taken"), "new", 0600));
    EXPECT_EQ(read("/etc/kept"), "old");
    const mode_t before = ::umask(077);
    EXPECT_TRUE(replaceFile(onHost("/etc/kept"), "x", 0644));
    ::umask(before);
    EXPECT_EQ(modeOf("/etc/kept"), 0644U) << "whatever the umask";
    EXPECT_NE(std::system(("ls -A " + onHost("/etc") + " | grep -q new-").c_str()), 0);
}

TEST_F(Files, WhatKilledWritersHaveLeftIsSwept) {
    for (const char *name : {"dead", "alive"})
        put(std::string("/etc/.new-held-") + name, "root:hash");
    // Of a script, which may still be at work, and of one that can not be.
    for (const char *name : {"abcdef", "uvwxyz"})
        put(std::string("/etc/.new-") + name, "root:hash");
    const timespec old[] = {{1600000000, 0}, {1600000000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, onHost("/etc/.new-uvwxyz").c_str(), old, 0), 0);
    const UniqueFd alive = lockFile(onHost("/etc/.new-held-alive"));
    ASSERT_TRUE(alive);
    EXPECT_TRUE(replaceFile(onHost("/etc/kept"), "x", 0600));
    EXPECT_EQ(namesIn(onHost("/etc"), "."),
              (std::vector<std::string>{".", "..", ".new-abcdef", ".new-held-alive"}));
}

TEST_F(Files, LockIsHeldByOneAtATimeAndWaitedForOnlySoLong) {
    const std::string path = onHost("/lock");
    UniqueFd lock = lockFile(path);
    ASSERT_TRUE(lock);
    EXPECT_FALSE(lockFile(path, std::chrono::milliseconds(20)));
    EXPECT_EQ(errno, EWOULDBLOCK);
    lock.reset();
    EXPECT_TRUE(lockFile(path, std::chrono::milliseconds(0)));
    EXPECT_FALSE(lockFile(onHost("/none/lock")));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(Files, ReadRefusesWhatIsTooLong) {
    put("/file", std::string(100, 'x'));
    EXPECT_EQ(readFile(onHost("/file"), 100).value_or("").size(), 100U);
    EXPECT_EQ(readFile(onHost("/file"), 99), std::nullopt);
    EXPECT_FALSE(readFile("/proc/self/status").value_or("").empty());
}

} // namespace
} // namespace zandorin
