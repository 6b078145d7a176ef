#include "tests/support/fault_test.h"

// A save of the configuration that is killed, or fails, at each point of it.

namespace zandorin::test {
namespace {

constexpr const char *config = "/etc/config/config.xml";
constexpr const char *delayed = "/etc/config/delayed/config.xml";

class Fault : public FaultTest {
  protected:
    void SetUp() override {
        FaultTest::SetUp();
        addPage("t", "CGI_CALL(ui::addElement,config.t.a,A)", "");
        configure("config.t.a", "old");
    }

    /// Each time the stored file must be the old or the new one.
    void killEverywhere(const Fields &fields) {
        const std::string before = read(config);
        const auto calls = record(fields, config);
        const std::string after = read(config);
        ASSERT_NE(before, after);
        bool sawOld = false;
        bool sawNew = false;
        killAtEach(calls, fields, [&](const Call &call) {
            const std::string stored = read(config);
            sawOld = sawOld || stored == before;
            sawNew = sawNew || stored == after;
            EXPECT_TRUE(stored == before || stored == after) << call.line << "\n" << stored;
            // Whatever was left behind, the request can be made again.
            post(fields, login());
            EXPECT_EQ(read(config), after) << call.line;
        });
        EXPECT_TRUE(sawOld && sawNew);
    }

    const Fields fields_ = {{"form", "t"}, {"apply", "on"}, {"config.t.a", "new"}};
};

TEST_F(Fault, AKillLeavesTheOldOrTheNewConfiguration) {
    killEverywhere(fields_);
}

TEST_F(Fault, AKillLeavesACommitThatCanBeRepeated) {
    configure("config.delayed", "on");
    ASSERT_TRUE(post(fields_, login()).has("queued"));
    killEverywhere({{"form", "commit"}, {"apply", "on"}});
    EXPECT_FALSE(exists(delayed));
}

TEST_F(Fault, AFailedCallIsToldAndLosesNothing) {
    const std::string before = read(config);
    const auto calls = record(fields_, config);
    const std::string after = read(config);
    ASSERT_NE(before, after);
    expectLog("Failed to ");
    failAtEach(calls, "/etc/config(/\\.|/config\\.xml|[\">])", fields_,
               [&](const Call &call, const Response &response) {
                   const std::string stored = read(config);
                   const bool succeeded = response.has("Changes to configuration succeeded.");
                   const std::string fatal = "<b>Fatal</b></font> Failed to ";
                   const bool saving = response.has(fatal + "save configuration changes.</p>");
                   const bool reading = response.has(fatal + "read configuration.</p>");
                   EXPECT_EQ(succeeded + saving + reading, 1) << call.line;
                   EXPECT_TRUE(stored == before || stored == after) << call.line;
                   EXPECT_TRUE(!succeeded || stored == after) << call.line;
                   return saving;
               });
}

} // namespace
} // namespace zandorin::test
