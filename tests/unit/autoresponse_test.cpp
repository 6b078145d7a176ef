#include "forms/autoresponse.h"
#include "tests/support/appliance_test.h"

namespace zandorin::autoresponse {
namespace {

using AutoResponse = test::ConfigTest;

TEST_F(AutoResponse, AmountsAddUpOverTheirUnits) {
    const std::string rule = "config.autoresponse.autoresponse1";
    const std::string keys = rule + ".";
    config.setElement(keys + "check_type", "celldata");
    const std::pair<const char *, const char *> amounts[] = {
        {"data_mb", "5"}, {"data_kb", "1030"}, {"period_d", "1"}, {"period_s", "2147483647"}};
    for (const auto &[key, value] : amounts)
        config.setElement(keys + "celldata." + key, value);
    storeAmounts(config, rule);
    EXPECT_EQ(config.getElement(keys + "celldata.data.amount"), "6150");
    EXPECT_EQ(config.getElement(keys + "celldata.data.display_mb"), "on");
    EXPECT_EQ(config.getElement(keys + "celldata.period.display_h"), "");
    EXPECT_EQ(shownAmounts(config, rule), "6 MB 6 kB in 24856 d 11647 s");
    config.setElement(keys + "check_type", "power");
    storeAmounts(config, rule);
    EXPECT_EQ(config.getElement(keys + "celldata.data.amount"), "");
}

TEST_F(AutoResponse, ReportsOfTheServiceAreReadByNumber) {
    put("/var/run/autoresponse.status", "2\tTriggered\tPort 3\t<b>\tann\textra\n"
                                        "9\tTriggered\n0\tX\nno number\n\n1\t\tPort 1\n3\tOff");
    const auto reports = readReports(3);
    ASSERT_EQ(reports.size(), 3U);
    std::string read;
    for (const auto &report : reports)
        read += report.status + "," + report.subject + "," + report.value + "," + report.user + ";";
    EXPECT_EQ(read, "Normal,Port 1,,;Triggered,Port 3,<b>,ann;Off,,,;");
    put("/var/run/autoresponse.status", std::string(70000, '1'));
    EXPECT_EQ(readReports(1)[0].status, "Normal");
}

} // namespace
} // namespace zandorin::autoresponse
