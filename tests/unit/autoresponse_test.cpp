#include "forms/autoresponse_fields.h"
#include "forms/autoresponse_pages.h"
#include "forms/autoresponse_records.h"
#include "forms/autoresponse_settings.h"

#include "platform/libzandorin/config_manager.h"
#include "tests/support/appliance_test.h"
#include "tests/support/log_capture.h"

#include <set>

namespace zandorin::autoresponse {
namespace {

class AutoResponse : public test::ApplianceTest {
  protected:
    void SetUp() override {
        ApplianceTest::SetUp();
        put("/etc/config/config.xml", "<config/>");
        ASSERT_TRUE(config.read());
    }

    /// Three actions, the second with a list of its own.
    std::string threeActions() {
        for (const char *name : {"one", "two", "three"}) {
            const std::string key = resolveActionKey(config, recordKey(1), "trigger.new.");
            config.setElement(key + "type", "custom");
            config.setElement(key + "custom.name", name);
            config.setElement(recordKey(1) + ".trigger_actions.total", std::to_string(++actions));
        }
        const std::string list = actionList(recordKey(1), "trigger");
        writeValues(config, list + "2.custom.args.arg", {"a", "b"});
        return list;
    }
    std::string names(const std::string &list) {
        std::string text = config.getElement(recordKey(1) + ".trigger_actions.total") + ":";
        for (unsigned number = 1; number <= countEntries(config, list); ++number)
            text += " " + config.getElement(list + std::to_string(number) + ".custom.name");
        return text;
    }

    ConfigManager config{"/etc/config/config.xml", "."};
    unsigned actions = 0;
};

TEST_F(AutoResponse, ListsAreNumberedAnew) {
    const std::string list = threeActions();
    EXPECT_EQ(names(list), "3: one two three");
    moveEntry(config, list, 2, 1);
    EXPECT_EQ(names(list), "3: two one three");
    EXPECT_EQ(readValues(config, list + "1.custom.args.arg"), (std::vector<std::string>{"a", "b"}));
    EXPECT_TRUE(readValues(config, list + "2.custom.args.arg").empty());
    for (const unsigned outside : {0U, 4U}) {
        removeEntry(config, list, outside);
        moveEntry(config, list, 1, outside);
        moveEntry(config, list, outside, 1);
    }
    EXPECT_EQ(names(list), "3: two one three");
    removeEntry(config, list, 1);
    EXPECT_EQ(names(list), "2: one three");
    EXPECT_TRUE(config.getSubElements(list + "3").empty()) << "nothing is left behind the end";
}

TEST_F(AutoResponse, FieldsOfActionsAreResolved) {
    threeActions();
    const std::string record = "config.autoresponse.autoresponse1";
    for (const char *field : {"trigger", "trigger.", "trigger.0.x", "trigger.-1.x", "trigger.2x.x"})
        EXPECT_EQ(resolveActionKey(config, record, field), "") << field;
    test::LogCapture log(Priority::error);
    EXPECT_EQ(resolveActionKey(config, record, "trigger.2.email.name"),
              record + ".trigger_actions.action2.email.name");
    EXPECT_EQ(resolveActionKey(config, record, "trigger.new."),
              record + ".trigger_actions.action4.");
    EXPECT_EQ(resolveActionKey(config, record, "resolve.7"), record + ".resolve_actions.action7");
    EXPECT_TRUE(log.records().empty());
    EXPECT_EQ(resolveActionKey(config, record, "other.2.x"), "");
    EXPECT_TRUE(log.has("300 Unrecognized prefix: other"));
}

TEST_F(AutoResponse, FingerprintFollowsEveryChange) {
    config.setElement("config.autoresponse.total", "2");
    config.setElement(recordKey(1) + ".name", "a");
    config.setElement(recordKey(2) + ".name", "a");
    std::set<std::string> seen = {fingerprint(config, 1), fingerprint(config, 2)};
    EXPECT_EQ(seen.size(), 2U) << "the number counts";
    for (const char *key : {".name", ".reset_timeout", ".trigger_actions.total",
                            ".trigger_actions.action1.email.body"}) {
        config.setElement(recordKey(1) + key, "1");
        EXPECT_TRUE(seen.insert(fingerprint(config, 1)).second) << key;
    }
    // The same value under another name, at the same place.
    config.setElement(recordKey(1) + ".first", "1");
    const std::string first = fingerprint(config, 1);
    config.delElement(recordKey(1) + ".first");
    config.setElement(recordKey(1) + ".second", "1");
    EXPECT_NE(fingerprint(config, 1), first) << "the name counts";
    EXPECT_EQ(fingerprint(config, 3), "");
    config.setElement("config.autoresponse.total", "4000000000");
    EXPECT_EQ(countEntries(config, all_records), 3U) << "never more than there is";
}

TEST_F(AutoResponse, AmountsAddUpOverTheirUnits) {
    const std::string keys = recordKey(1) + ".";
    const std::pair<const char *, const char *> amounts[] = {
        {"data_mb", "5"}, {"data_kb", "1030"}, {"period_d", "1"}, {"period_s", "2147483647"}};
    for (const auto &[key, value] : amounts)
        config.setElement(keys + "celldata." + key, value);
    storeAmounts(config, "celldata", keys);
    EXPECT_EQ(config.getElement(keys + "celldata.data.amount"), "6150");
    EXPECT_EQ(config.getElement(keys + "celldata.data.display_mb"), "on");
    EXPECT_EQ(config.getElement(keys + "celldata.period.display_h"), "");
    EXPECT_EQ(shownAmounts(config, "celldata", keys), "6 MB 6 kB in 24856 d 11647 s");
    storeAmounts(config, "power", keys);
    EXPECT_EQ(config.getElement(keys + "celldata.data.amount"), "");
}

TEST_F(AutoResponse, ReportsOfTheServiceAreReadByNumber) {
    put("/var/run/autoresponse.status", "2\tTriggered\tPort 3\t<b>\tann\textra\n"
                                        "9\tTriggered\n0\tX\nno number\n\n1\t\tPort 1\n3");
    const auto reports = readReports(3);
    ASSERT_EQ(reports.size(), 3U);
    std::string read;
    for (const auto &report : reports)
        read += report.status + "," + report.subject + "," + report.value + "," + report.user + ";";
    EXPECT_EQ(read, "Normal,Port 1,,;Triggered,Port 3,<b>,ann;Normal,,,;");
    put("/var/run/autoresponse.status", std::string(70000, '1'));
    EXPECT_EQ(readReports(1)[0].status, "Normal");
}

} // namespace
} // namespace zandorin::autoresponse
