#include "settings/devices.h"
#include "tests/support/appliance_test.h"

namespace zandorin::settings {
namespace {

using Devices = test::ConfigTest;

TEST_F(Devices, OutletsOfNoDeviceBecomeThoseOfAStrip) {
    for (const auto &[key, value] : std::map<std::string, std::string>{
             {"ports.total", "2"},
             {"ports.port2.label", "Rack"},
             {"ports.port2.device.type", "rpc"},
             {"ports.port2.power.outlets.total", "1"},
             {"power.device1.outlet1.label", "Pump"},
             {"power.outlets.outlet2.label", "Left"},
             {"power.outlets.outlet5.label", ""},
             {"power.outlets.outlet5.state", "on"},
             {"users.user1.power.outlet5", "on"},
             {"users.user1.power.outlet2", "off"},
             {"users.user2.power.outlets.outlet1", "config.power.device1.outlet1"},
             {"users.user2.power.outlet2", "on"}})
        config.setElement("config." + key, value);
    const auto outlets = [&] {
        std::string all;
        for (const Option &outlet : outletOptions(config))
            all += outlet.value.substr(7) + "=" + outlet.group + "/" + outlet.label + ";";
        for (const char *user : {"config.users.user1", "config.users.user2"})
            for (const char *number : {"1", "2"})
                all += config.getElement(std::string(user) + granted_outlets + ".outlet" + number) +
                       ",";
        return all;
    };
    const std::string moved =
        "ports.port2.power.outlet1=Rack/Outlet 1;power.device1.outlet1=Power Strip 1/Pump;"
        "power.device2.outlet1=Power Strip 2/Left;power.device2.outlet2=Power Strip 2/Outlet 5;"
        "config.power.device2.outlet2,,config.power.device1.outlet1,config.power.device2.outlet1,";
    for (const char *time : {"first", "second"}) {
        moveOutlets(config);
        EXPECT_EQ(outlets(), moved) << time;
    }
    EXPECT_TRUE(config.getSubElements("config.power.outlets").empty());
    EXPECT_EQ(config.getElement("config.users.user1.power.outlet5"), "");
}

} // namespace
} // namespace zandorin::settings
