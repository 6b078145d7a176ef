#include "forms/users_model.h"
#include "platform/libzandorin/config_manager.h"
#include "tests/support/appliance_test.h"
#include "tests/support/log_capture.h"
#include "util/paths.h"

namespace zandorin::users {
namespace {

class UsersModel : public test::ApplianceTest {
  protected:
    void SetUp() override {
        ApplianceTest::SetUp();
        put("/etc/config/config.xml", "<config/>");
        ASSERT_TRUE(config.read());
    }

    std::string names() const {
        std::string text;
        for (const Record &record : records(config, user_kind))
            text += std::to_string(record.index) + "=" + record.name + " ";
        return text;
    }

    ConfigManager config{"/etc/config/config.xml", "."};
};

TEST_F(UsersModel, RemovingLeavesNoHoleAndLosesNothing) {
    // Somebody has left a hole.
    for (const auto &[index, name] : {std::pair(1U, "ann"), {2, "bea"}, {4, "dan"}, {10, "eve"}})
        config.setElement(keyOf(user_kind, index) + ".username", name);
    const std::string dan = keyOf(user_kind, 4);
    config.setElement(dan + ".groups.group1", "ops");
    config.setElement(dan + ".groups.total", "1");
    config.setElement(dan + ".vendor.deep.key", "kept");
    config.setElement(dan + ".port3", true);
    config.setElement(keyOf(user_kind, 2) + ".description", "of bea");

    removeRecord(config, user_kind, 1);
    EXPECT_EQ(names(), "1=bea 2=dan 3=eve ");
    EXPECT_EQ(config.getElement("config.users.total"), "3");
    EXPECT_EQ(config.getElement("config.users.user2.vendor.deep.key"), "kept");
    EXPECT_EQ(values(config, "config.users.user2.groups", "group"),
              std::vector<std::string>{"ops"});
    EXPECT_EQ(numbers(config, "config.users.user2", "port"), std::vector<unsigned>{3});
    EXPECT_EQ(config.getElement("config.users.user2.description"), "") << "bea was here before";
    EXPECT_TRUE(config.getSubElements("config.users.user4").empty());

    for (const unsigned index : {3U, 1U, 1U})
        removeRecord(config, user_kind, index);
    EXPECT_EQ(names(), "");
    EXPECT_EQ(nextIndex(config, user_kind), 1U);
    EXPECT_EQ(config.getElement("config.users.total"), "");
}

TEST_F(UsersModel, RecordsThatAreNoneAreLeftOutAndLogged) {
    config.setElement(keyOf(user_kind, 2) + ".username", "bea");
    config.setElement("config.users.user3.description", "nameless");
    for (const std::string number : {"04", "99999999999999999999", "x"})
        config.setElement("config.users.user" + number + ".username", "no number");
    config.setElement("config.users.total", "4000000000");
    config.setElement("config.groups.group1.description", "nameless");
    const test::LogCapture log(Priority::error);
    EXPECT_EQ(names(), "2=bea ");
    EXPECT_TRUE(records(config, group_kind).empty());
    for (const char *text : {"Invalid user 'config.users.user1': no tree element",
                             "Invalid user 'config.users.user3': no name",
                             "Invalid user 'config.users.user4': no tree element",
                             "Invalid group 'config.groups.group1': no name"})
        EXPECT_TRUE(log.has(std::string("300 ") + text)) << text;
    EXPECT_FALSE(recordAt(config, user_kind, 3));
    EXPECT_FALSE(recordNamed(config, user_kind, "no number"));
    EXPECT_EQ(nextIndex(config, user_kind), 4U) << "behind the nameless one too";
}

} // namespace
} // namespace zandorin::users
