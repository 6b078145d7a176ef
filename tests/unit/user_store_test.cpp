#include "platform/accounts/account_file.h"
#include "platform/accounts/authorized_keys.h"
#include "platform/accounts/user_store.h"
#include "tests/support/appliance_test.h"
#include "tests/support/log_capture.h"

#include <unistd.h>

namespace zandorin {
namespace {

namespace fs = std::filesystem;
using test::group_file;
using test::passwd;

class UserStore : public test::ApplianceTest {
  protected:
    void SetUp() override {
        ApplianceTest::SetUp();
        put(passwd, before_);
        makeFolder("/etc/config/users");
    }

    const std::string before_ =
        "root:$6$x$y:0:0:root:/root:/bin/bash\n# kept as it is\nsys:*:500:500:::\n";

    static std::string withoutHash(const std::string &line) {
        return std::regex_replace(line, std::regex("\\$1\\$[^:]*"), "HASH");
    }
};

TEST_F(UserStore, ChoosesTheFirstGapAmongTheUsersIds) {
    const std::tuple<const char *, std::set<uid_t>, uid_t> rows[] = {
        {"none", {}, 1000},
        {"a gap", {1000, 1001, 1003}, 1002},
        {"below the first is no gap", {1005}, 1006},
        {"behind the last comes no root", {4294967294, 4294967295}, 1000},
    };
    for (const auto &[name, used, next] : rows) {
        std::string text;
        for (const uid_t id : used)
            text += "u" + std::to_string(id) + ":x:" + std::to_string(id) + ":1000::/:/bin/sh\n";
        put(passwd, text);
        EXPECT_EQ(user_getfreeuid(), next) << name;
    }
}

TEST_F(UserStore, DisabledAccountKeepsItsPasswordAndLetsNobodyIn) {
    ASSERT_EQ(user_adduser("ann", "first", "Ann"), 0);
    const std::string enabled = account("ann");
    const std::string disabled =
        "ann:!" + hashOf("ann") + ":1000:1000:Ann:/etc/config/users/ann:/bin/false";
    for (const bool on : {false, false, true, false}) { // the second time changes nothing
        ASSERT_EQ(user_changeuser("ann", {.enabled = on}), 0);
        EXPECT_EQ(account("ann"), on ? enabled : disabled);
    }
    ASSERT_EQ(user_setuser("ann", "second", "Ann"), 0);
    EXPECT_EQ(account("ann").find("ann:!$1$"), 0U) << "a new password does not enable";
    ASSERT_EQ(user_changeuser("ann", {.name = "bea", .password = "", .enabled = true}), 0);
    EXPECT_EQ(read(passwd).substr(before_.size()),
              "bea:*:1000:1000:Ann:/etc/config/users/bea:/bin/bash\n")
        << "an empty password is none";
}

TEST_F(UserStore, InterruptedRenameIsCompleted) {
    ASSERT_EQ(user_adduser("ann", "p", ""), 0);
    put("/etc/config/users/ann/notes", "hers");
    ASSERT_EQ(user_renameuser("ann", "bea"), 0);
    // A crash before the home folder has moved.
    fs::rename(onHost("/etc/config/users/bea"), onHost("/etc/config/users/ann"));
    ASSERT_EQ(user_renameuser("ann", "bea"), 0);
    EXPECT_EQ(read("/etc/config/users/bea/notes"), "hers");

    put(passwd, read(passwd) + "sys2:*:501:500::/etc/config/users/sys2:/bin/sh\n");
    for (const char *name : {"root", "sys2", "zoe"})
        EXPECT_EQ(user_renameuser("nobody-here", name), -1) << name << ": not made here";
}

TEST_F(UserStore, RefusesWhatCannotBeAnAccount) {
    const test::LogCapture log(Priority::fatal);
    ASSERT_EQ(user_adduser("ann", "p", ""), 0);
    const std::string before = read(passwd);
    EXPECT_TRUE(user_isname("0.a_-@B"));
    using Results = std::vector<int>;
    for (const char *name : {"", "-rf", ".ann", "a/b", "a:b", "a\nroot::0:0:::", "\xe4"}) {
        EXPECT_FALSE(user_isname(name)) << name;
        EXPECT_EQ((Results{user_adduser(name, "p", ""), user_deluser(name),
                           user_renameuser("ann", name), user_addgroup(name, 1)}),
                  Results(4, -1))
            << name;
    }
    for (const char *text : {"a:b", "a\nroot::0:0:::", "\x7f"})
        EXPECT_EQ((Results{user_adduser("joe", "p", text), user_setuser("ann", "p", text)}),
                  Results(2, -1))
            << text;
    EXPECT_EQ(user_adduser("ann", "p", ""), -1) << "taken";
    EXPECT_EQ(user_renameuser("ann", "root"), -1) << "taken";
    EXPECT_EQ(user_setuser("nobody-here", "p", ""), -1);
    EXPECT_EQ(read(passwd), before);
    EXPECT_EQ(read(group_file), "(missing)");
}

TEST_F(UserStore, LeavesTheGroupsOfTheSystemAlone) {
    const std::string system = "root:x:0:\nbroken\n\ndaylight:x:10:root\n";
    put(group_file, system + "ops:x:1001:\nopsy:x:1003:");
    ASSERT_EQ(user_renamegroup("ops", "night"), 0);
    ASSERT_EQ(user_renamegroup("daylight", "mine"), 0);
    ASSERT_EQ(user_delgroup("root"), 0);
    ASSERT_EQ(user_delgroup("opsy"), 0);
    ASSERT_EQ(user_addgroup("day"), 0);
    ASSERT_EQ(user_addgroup("day", 7), 0) << "there already";
    EXPECT_EQ(read(group_file), system + "night:x:1001:\nday:x:1002:\n");
    ASSERT_EQ(user_renamegroup("day", "night"), 0) << "no name stands twice";
    EXPECT_EQ(read(group_file), system + "night:x:1001:\n");
    EXPECT_EQ(user_renamegroup("night", "a:b"), -1);
}

TEST_F(UserStore, DeletingAndWritingKeysFollowNoLink) {
    const std::string home = "/etc/config/users/ann";
    const std::string keys = home + "/.ssh/authorized_keys";
    ASSERT_EQ(user_adduser("ann", "p", ""), 0);
    const Account account = {"ann", "", ::geteuid(), ::getegid(), "", home, ""};
    const auto link = [](const char *target, const std::string &path) {
        fs::remove_all(onHost(path));
        fs::create_symlink(onHost(target), onHost(path));
    };
    put("/etc/secret", "secret");
    link("/etc/secret", keys);
    ASSERT_TRUE(writeAuthorizedKeys(account, "one"));
    EXPECT_EQ(read(keys), "one\n") << "the link itself is replaced";

    const test::LogCapture log(Priority::error);
    makeFolder("/etc/elsewhere");
    for (const std::string &folder : {home + "/.ssh", home}) {
        link("/etc/elsewhere", folder);
        EXPECT_FALSE(writeAuthorizedKeys(account, "one")) << folder;
        fs::remove(onHost(folder));
        makeFolder(folder);
    }
    EXPECT_TRUE(fs::is_empty(onHost("/etc/elsewhere")));
    EXPECT_TRUE(log.has("300 Failed to write: " + keys + ": Not a directory"));

    link("/etc", home + "/etc");
    ASSERT_EQ(user_deluser("ann"), 0);
    EXPECT_EQ(read("/etc/secret"), "secret");
}

TEST_F(UserStore, SaltsDiffer) {
    std::set<std::string> salts;
    for (int i = 0; i < 50; ++i) {
        const std::string salt = user_makesalt();
        EXPECT_TRUE(std::regex_match(salt, std::regex("\\$1\\$[./0-9A-Za-z]{9}"))) << salt;
        EXPECT_TRUE(salts.insert(salt).second) << salt;
    }
}

TEST_F(UserStore, FileThatIsMissingOrUnreadable) {
    fs::remove(onHost(passwd));
    const test::LogCapture log(Priority::fatal);
    EXPECT_EQ(user_setuser("ann", "p", ""), -1);
    EXPECT_TRUE(log.has("0 Failed to open: /etc/config/passwd"));
    EXPECT_EQ(user_adduser("ann", "p", ""), 0) << "the first account makes the file";
    EXPECT_EQ(withoutHash(read(passwd)), "ann:HASH:1000:1000::/etc/config/users/ann:/bin/bash\n");
    fs::remove(onHost(passwd));
    makeFolder(passwd);
    EXPECT_EQ(user_adduser("bea", "p", "") + user_deluser("ann"), -2);
}

} // namespace
} // namespace zandorin
