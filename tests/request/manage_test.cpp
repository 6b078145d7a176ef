#include "tests/support/request_test.h"

namespace zandorin::test {
namespace {

using Manage = RequestTest;

TEST_F(Manage, ShowsEveryoneWhatIsTheirs) {
    for (const auto &[key, value] : // the fourth group is pmshell
         formData("system.name=rack-7&ports.port2.label=<UPS>&ports.port2.device.type=ups&"
                  "ports.port3.label=Router&ports.port3.speed=9600&"
                  "power.outlets.outlet1.label=Left rack&power.outlets.outlet2.label=Right rack&"
                  "groups.group7.name=power users&groups.group7.roles.role1=power&"
                  "users.user1.power.outlet2=on&groups.group4.port2=on&users.user1.port3=on"))
        configure("config." + key, value);
    const std::string ports = "Your Serial Ports";
    const std::string outlets = "Your Power Outlets";
    const std::string devices = "Managed Devices";
    const struct {
        const char *group;
        std::vector<std::string> shown;
        std::vector<std::string> hidden;
    } rows[] = {
        {"pmshell",
         {"<h1>My Access</h1>", ">ann&nbsp;<", "Use the serial ports: terminals", ports,
          "Router, 9600 baud", "&lt;UPS&gt;, not set up yet", "?form=portaccess"},
         {outlets, devices, "Port 4", "Open every page"}},
        {"power users", {outlets, "Right rack"}, {ports, devices, "Left rack"}},
        {"netgrp", {devices, "&lt;UPS&gt;, Uninterruptible power supply"}, {ports, outlets}},
    };
    addUser("ann", {"pmshell"});
    for (const auto &row : rows) {
        configure("config.users.user1.groups.group1", row.group);
        const Response page = get("", login("ann"));
        EXPECT_EQ(page.lacks(row.shown), "") << row.group;
        EXPECT_EQ(page.holds(row.hidden), "") << row.group;
        EXPECT_TRUE(exists("/var/run/.sessions/session-0123456789abcdef-ann")) << row.group;
    }

    configure("config.users.user1.groups.group1", "pmoperator");
    EXPECT_TRUE(get("", login("ann")).has("<h1>Summary</h1>")) << "who may see it, does first";
    const Response page = get("form=manage", login("ann"));
    EXPECT_TRUE(page.has("<a href=\"?form=sessions\">Web Sessions</a>"));
    EXPECT_FALSE(page.has("<a href=\"?form=users\">"));
    EXPECT_TRUE(get("form=manage").has(">Port 8&nbsp;<")) << "root has every port";
}

} // namespace
} // namespace zandorin::test
