#include "platform/libzandorin/folder_names.h"

#include "tests/support/appliance_test.h"
#include "util/paths.h"

#include <chrono>
#include <thread>

namespace zandorin::platform {
namespace {

class FolderNamesTest : public test::ApplianceTest {
  protected:
    static constexpr const char *snapshot = "/var/run/test.snapshot";

    void SetUp() override {
        ApplianceTest::SetUp();
        makeFolder("/var/run");
    }

    /// Which of a, b, c, ... the folder is said to hold.
    static std::string found() {
        const FolderNames names(appliancePath("/folder"), "test");
        std::string result;
        for (const char name : std::string("abcz"))
            if (names.contains(std::string(1, name)))
                result += name;
        return result;
    }
};

TEST_F(FolderNamesTest, EveryChangeIsNoticed) {
    EXPECT_EQ(found(), "") << "no folder";
    put("/folder/b", "");
    EXPECT_EQ(found(), "b");
    put("/folder/a", ""); // most likely within one tick of the file system's clock
    EXPECT_EQ(found(), "ab");

    std::this_thread::sleep_for(std::chrono::milliseconds(3100));
    EXPECT_EQ(found(), "ab");
    EXPECT_EQ(modeOf(snapshot), 0600U);
    // What the next reader answers comes from the snapshot, or this would go unseen.
    std::string bytes = get(snapshot);
    bytes[bytes.rfind('b')] = 'z';
    put(snapshot, bytes);
    EXPECT_EQ(found(), "az");
    put("/folder/c", "");
    EXPECT_EQ(found(), "abc");

    for (const std::string &damaged :
         {std::string(), bytes.substr(0, 10), std::string(100, '\0')}) {
        put(snapshot, damaged);
        EXPECT_EQ(found(), "abc") << damaged.size();
    }
}

} // namespace
} // namespace zandorin::platform
