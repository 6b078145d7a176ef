#include "tests/support/request_test.h"

namespace zandorin::test {
namespace {

using Manage = RequestTest;

TEST_F(Manage, ShowsEveryoneWhatIsTheirs) {
    configure("config.system.name", "rack-7");
    configure("config.ports.port2.label", "<UPS>");
    configure("config.ports.port2.device.type", "ups");
    configure("config.ports.port3.label", "Router");
    configure("config.ports.port3.speed", "9600");
    configure("config.power.outlets.outlet1.label", "Left rack");
    configure("config.power.outlets.outlet2.label", "Right rack");
    configure("config.groups.group7.name", "power users");
    configure("config.groups.group7.roles.role1", "power");
    configure("config.users.user1.power.outlet2", "on");
    configure("config.groups.group4.port2", "on"); // pmshell
    configure("config.users.user1.port3", "on");
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
          "Router, 9600 baud", "&lt;UPS&gt;, not set up yet", "Only this one."},
         {outlets, devices, "Port 4", "Open every page"}},
        {"power users", {outlets, "Right rack"}, {ports, devices, "Left rack"}},
        {"netgrp", {devices, "&lt;UPS&gt;, Uninterruptible power supply"}, {ports, outlets}},
    };
    addUser("ann", {"pmshell"});
    for (const auto &row : rows) {
        configure("config.users.user1.groups.group1", row.group);
        const Response page = get("", login("ann"));
        for (const std::string &text : row.shown)
            EXPECT_TRUE(page.has(text)) << row.group << ": " << text;
        for (const std::string &text : row.hidden)
            EXPECT_FALSE(page.has(text)) << row.group << ": " << text;
        EXPECT_TRUE(exists("/var/run/.sessions/session-0123456789abcdef-ann")) << row.group;
    }

    configure("config.users.user1.groups.group1", "pmoperator");
    EXPECT_TRUE(get("", login("ann")).has("<h1>Summary</h1>")) << "who may see it, does first";
    const Response page = get("form=manage", login("ann"));
    EXPECT_TRUE(page.has("<a href=\"?form=sessions\">Web Sessions</a>"));
    EXPECT_FALSE(page.has("<a href=\"?form=users\">"));
    EXPECT_TRUE(get("form=manage", login()).has(">Port 8&nbsp;<")) << "root has every port";

    configure("config.users.user1.groups.group1", "dialin");
    EXPECT_TRUE(get("", login("ann")).has("User 'ann' is not authorized to access this area."));
}

} // namespace
} // namespace zandorin::test
