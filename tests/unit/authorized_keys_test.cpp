#include "forms/authorized_keys.h"

#include "forms/account_file.h"
#include "tests/support/appliance_test.h"
#include "tests/support/log_capture.h"
#include "util/paths.h"

#include <filesystem>

#include <unistd.h>

namespace zandorin {
namespace {

namespace fs = std::filesystem;

constexpr const char *keys = "/etc/config/users/ann/.ssh/authorized_keys";

class AuthorizedKeys : public test::ApplianceTest {
  protected:
    void SetUp() override {
        ApplianceTest::SetUp();
        makeFolder("/etc/config/users/ann");
        put("/etc/secret", "secret");
    }

    static void link(std::string_view target, std::string_view path) {
        fs::remove_all(appliancePath(path));
        fs::create_symlink(appliancePath(target), appliancePath(path));
    }

    const Account account = {.name = "ann",
                             .hash = "",
                             .uid = ::geteuid(),
                             .gid = ::getegid(),
                             .description = "",
                             .home = "/etc/config/users/ann",
                             .shell = ""};
};

TEST_F(AuthorizedKeys, NoLinkIsFollowed) {
    makeFolder("/etc/config/users/ann/.ssh");
    link("/etc/secret", keys);
    ASSERT_TRUE(writeAuthorizedKeys(account, "one"));
    EXPECT_EQ(get(keys), "one\n") << "the link itself is replaced";

    const test::LogCapture log(Priority::error);
    makeFolder("/etc/elsewhere");
    for (const char *folder : {"/etc/config/users/ann/.ssh", "/etc/config/users/ann"}) {
        link("/etc/elsewhere", folder);
        EXPECT_FALSE(writeAuthorizedKeys(account, "one")) << folder;
        fs::remove(appliancePath(folder));
        makeFolder(folder);
    }
    EXPECT_TRUE(fs::is_empty(appliancePath("/etc/elsewhere")));
    EXPECT_EQ(get("/etc/secret"), "secret");
    EXPECT_TRUE(log.has(std::string("300 Failed to write: ") + keys + ": Not a directory"));
}

} // namespace
} // namespace zandorin
