#include "engine/login_guard.h"
#include "tests/support/appliance_test.h"
#include "tests/support/log_capture.h"

namespace zandorin {
namespace {

using std::chrono::seconds;

constexpr unsigned limit = 3;
constexpr seconds lockout(600);
constexpr const char *table = "/var/run/.logins";

class LoginGuardTest : public test::ApplianceTest {
  protected:
    void SetUp() override {
        ApplianceTest::SetUp();
        makeFolder("/var/run");
    }

    /// Seconds to wait before a login at that time; 0 is one that was made, and failed.
    static long fail(int now, const std::string &address, const std::string &name) {
        return static_cast<long>(
            LoginGuard(limit, lockout, seconds(now)).admit(address, name).count());
    }
    static void succeed(int now, const std::string &address, const std::string &name) {
        LoginGuard(limit, lockout, seconds(now)).succeeded(address, name);
    }
};

TEST_F(LoginGuardTest, ShutsOutAnAddressForAWhile) {
    EXPECT_EQ(fail(1000, "192.0.2.1", "root"), 0);
    EXPECT_EQ(fail(1010, "192.0.2.1", "ann"), 0) << "another name, the same address";
    EXPECT_EQ(fail(1020, "192.0.2.1", "root"), 0);
    EXPECT_EQ(fail(1030, "192.0.2.1", "root"), 590);
    EXPECT_EQ(fail(1619, "192.0.2.1", "bea"), 1) << "what was refused is not counted";
    EXPECT_EQ(fail(1030, "192.0.2.2", "root"), 0) << "somewhere else";
    EXPECT_EQ(fail(1620, "192.0.2.1", "root"), 0) << "over";
    EXPECT_EQ(fail(1621, "192.0.2.1", "root"), 0) << "counted anew";
    EXPECT_EQ(modeOf(table), 0600U);
}

TEST_F(LoginGuardTest, OneClientIsOneAddress) {
    const std::tuple<const char *, const char *, const char *, bool> rows[] = {
        {"same network", "2001:db8::1", "2001:db8:0:0:ffff::2", true},
        {"another network", "2001:db8::1", "2001:db8:0:1::1", false},
        {"mapped", "::ffff:192.0.2.1", "192.0.2.1", true},
        {"no addresses", "", "x y\n1", true},
    };
    for (const auto &[name, first, second, isSame] : rows) {
        put(table, "");
        for (unsigned i = 0; i < limit; ++i)
            fail(1000, first, "root");
        EXPECT_EQ(fail(1000, second, "root") != 0, isSame) << name;
    }
}

TEST_F(LoginGuardTest, SuccessTakesBackItsOwnFailuresOnly) {
    fail(1000, "192.0.2.1", "root");
    fail(1000, "192.0.2.1", "root");
    succeed(1000, "192.0.2.1", "ann");
    succeed(1000, "192.0.2.2", "root");
    EXPECT_EQ(fail(1000, "192.0.2.1", "ann"), 0);
    EXPECT_EQ(fail(1000, "192.0.2.1", "root"), 600) << "an account buys no guesses at another";
    succeed(1000, "192.0.2.1", "root");
    EXPECT_EQ(fail(1000, "192.0.2.1", "root"), 0);
}

TEST_F(LoginGuardTest, NameUnderFireFromEverywhereIsSlowedNotShut) {
    const auto from = [](int n) { return "198.51." + std::to_string(n) + ".1"; };
    for (int n = 0; n < 30; ++n)
        EXPECT_EQ(fail(1000, from(n), "root"), 0) << n;
    EXPECT_EQ(fail(1000, "192.0.2.1", "root"), 60) << "a tenth of the time";
    EXPECT_EQ(fail(1000, "192.0.2.1", "ann"), 0) << "nobody else";
    EXPECT_EQ(fail(1060, "192.0.2.1", "root"), 0) << "one try";
    EXPECT_EQ(fail(1061, "192.0.2.2", "root"), 59);
}

TEST_F(LoginGuardTest, OwnersAreNotCountedWithTheGuessers) {
    constexpr int week = 7 * 24 * 3600;
    const auto attack = [](int now) {
        for (int n = 0; n < 60; ++n)
            fail(now, "198.51." + std::to_string(n) + ".1", "root");
    };
    fail(1000, "192.0.2.1", "root");
    succeed(1000, "192.0.2.1", "root");
    // What others log in as, and from where, does not push it out.
    for (int n = 0; n < 20; ++n)
        succeed(1001, "203.0.113." + std::to_string(n), "ann");
    attack(2000);
    const struct {
        const char *name, *address, *user;
        int now;
        bool isAdmitted;
        const char *networks = "";
    } rows[] = {
        {"where it succeeded", "192.0.2.1", "root", 2000, true},
        {"elsewhere", "192.0.2.2", "root", 2000, false},
        {"only as another", "203.0.113.19", "root", 2000, false},
        {"a trusted network", "192.168.7.9", "root", 2000, true, "10.0.0.0/8, 192.168.0.0/16"},
        {"its mask", "192.168.8.9", "root", 2000, true, "192.168.8.0/255.255.255.0"},
        {"of IPv6", "2001:db8::9", "root", 2000, true, "2001:db8::/33"},
        {"beside it", "2001:db8:8000::9", "root", 2000, false, "2001:db8::/33"},
        {"one address", "192.168.9.9", "root", 2000, true, "192.168.9.9"},
        {"no networks", "192.168.9.8", "root", 2000, false,
         "/8,192.168.9.8/99,x/1,,192.168.9.8/-1"},
        {"long ago", "192.0.2.1", "root", 1000 + week, false},
    };
    for (const auto &row : rows) {
        if (row.now > 2000)
            attack(row.now);
        EXPECT_EQ(LoginGuard(limit, lockout, seconds(row.now), row.networks)
                          .admit(row.address, row.user)
                          .count() == 0,
                  row.isAdmitted)
            << row.name;
    }
    const LoginGuard strict(1, lockout, seconds(1001 + week), "192.168.0.0/16");
    strict.admit("192.168.7.9", "root");
    EXPECT_NE(strict.admit("192.168.7.9", "root").count(), 0) << "its own limit holds";
}

TEST_F(LoginGuardTest, AJumpOfTheClockAndADamagedFileLockNobody) {
    for (const std::string last : {"3 999999", "3 -5", "99999999999999999999 1000", "3"}) {
        put(table, "192.0.2.1 1 " + last);
        EXPECT_EQ(fail(1000, "192.0.2.1", "root"), 0) << last;
    }
    put(table, std::string(1000000, '\n'));
    EXPECT_EQ(fail(1000, "192.0.2.1", "root"), 0);
    for (unsigned i = 0; i < limit; ++i)
        fail(5000, "192.0.2.1", "root");
    EXPECT_NE(fail(5000, "192.0.2.1", "root"), 0);
    EXPECT_EQ(fail(10, "192.0.2.1", "root"), 0) << "started again, with the file still there";
}

TEST_F(LoginGuardTest, AFloodFillsNothing) {
    for (int i = 0; i < 700; ++i)
        fail(1000, "10.1." + std::to_string(i / 250) + "." + std::to_string(i % 250),
             std::string(255, 'x') + std::to_string(i));
    const std::string contents = read(table);
    EXPECT_EQ(std::count(contents.begin(), contents.end(), '\n'), 512);
    EXPECT_EQ(contents.find("xx"), std::string::npos) << "what was typed is not kept";
}

TEST_F(LoginGuardTest, AFileThatCannotBeWrittenIsLogged) {
    put("/var/run/.logins.lock/x", "");
    const test::LogCapture log;
    EXPECT_EQ(fail(1000, "192.0.2.1", "root"), 0);
    EXPECT_TRUE(log.has("300 Failed logins can not be counted: /var/run/.logins.lock: Is a "
                        "directory"));
}

} // namespace
} // namespace zandorin
