#include "platform/accounts/accounts.h"
#include "tests/support/appliance_test.h"

namespace zandorin {
namespace {

using Accounts = test::ApplianceTest;

TEST_F(Accounts, PasswordsAreChecked) {
    // The hashes were made by another program: openssl passwd -6 and -1.
    const std::string md5 = "$1$saltstri$YMyguxXMBpd2TEZ.vS/3q1";
    put("/etc/config/passwd",
        "sha:$6$saltstring$svn8UoSVapNtMuq1ukKS4tPQd8iKwSMHWjl/O817G3uBnIFNjnQJuesI68u4OTLiBFdcbY"
        "EdFCoEOfaS35inz1:0:0::/:/bin/bash\nmd5:" +
            md5 + ":1000:1000::/:/bin/bash\nshort:" + md5 + ":1:1\n:" + md5 +
            ":1:1::/:/bin/sh\n"
            "empty::1:1::/:/bin/sh\n"
            "locked:!$6$saltstring$svn8Uo:1:1::/:/bin/sh\n"
            "refusal:*0:1:1::/:/bin/sh\nplain:secret:1:1::/:/bin/sh\n");
    const std::tuple<const char *, std::string, bool> rows[] = {
        {"sha", "Hello world!", true},
        {"sha", "Hello world", false},
        {"sha", std::string("Hello world!\0x", 14), false},
        {"md5", "Hello world!", true},
        {"empty", "", false},
        {"locked", "Hello world!", false},
        {"refusal", "*0", false},
        {"plain", "secret", false},
        {"short", "Hello world!", false},
        {"", "Hello world!", false},
        {"md5:$1$", "Hello world!", false},
    };
    const ShadowFile shadow;
    for (const auto &[name, password, isGood] : rows)
        EXPECT_EQ(user_ispassword(shadow, name, password), isGood)
            << name << " '" << password.substr(0, 20) << "'";
    EXPECT_FALSE(user_ispassword(ShadowFile("/nonexistent"), "sha", "Hello world!"));
}

TEST_F(Accounts, HashesAreSaltedAndMatch) {
    EXPECT_THAT(user_getcryptedpassword("kestrel", PasswordHash::yescrypt),
                testing::StartsWith("$y$"));
    EXPECT_EQ(user_getcryptedpassword("kestrel", PasswordHash::md5), "") << "is the account files'";
    const std::string first = user_getcryptedpassword("kestrel");
    EXPECT_THAT(first, testing::MatchesRegex("[$]6[$][./0-9A-Za-z]+[$][./0-9A-Za-z]+"));
    EXPECT_EQ(first.size(), 3U + 16 + 1 + 86);
    EXPECT_NE(first, user_getcryptedpassword("kestrel"));
    EXPECT_EQ(user_getcryptedpassword(std::string(100000, 'x')), "");
    EXPECT_EQ(user_getcryptedpassword(std::string("a\0b", 3)), "");
    put("/etc/config/passwd", "root:" + first + ":0:0:root:/:/bin/bash\n");
    EXPECT_TRUE(user_ispassword(ShadowFile(), "root", "kestrel"));
    EXPECT_FALSE(user_ispassword(ShadowFile(), "root", "kestrels"));
}

} // namespace
} // namespace zandorin
