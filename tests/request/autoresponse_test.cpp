#include "tests/support/request_test.h"

#include <gmock/gmock.h>

namespace zandorin::test {
namespace {

using ::testing::HasSubstr;

const std::string record1 = "config.autoresponse.autoresponse1.";
const std::string fresh = "config.autoresponse.new.";
const std::string gone = "There is no such action any more.";

class AutoResponse : public RequestTest {
  protected:
    AutoResponse() {
        configure("config.system.model", "HX9008");
        configure("config.ports.port2.device.type", "ups");
        configure("config.ports.port3.device.type", "enviro");
        configure("config.ports.port4.device.type", "rpc");
        cookie = login();
    }

    Response open(const std::string &query) { return get("form=autoresponse" + query, cookie); }
    Response submit(const Fields &fields) {
        return post(Fields{{"form", "autoresponse"}} + fields, cookie);
    }
    /// An action upon the first record as it is now.
    Response command(const std::string &action, const Fields &more = {}) {
        return submit(Fields{{"action", action}, {"index", "1"}, {"opened", opened(1)}} + more);
    }

    /// The fingerprint of a record as it is now.
    std::string opened(int index) {
        return openedOf(open("&action=modify&index=" + std::to_string(index)));
    }
    static std::string openedOf(const Response &page) {
        const auto found = captures(page.body, "name=\"opened\" value=\"([0-9a-f]{16})\" ");
        return found.empty() ? "" : found[0];
    }

    static bool shows(const Response &page, const std::string &name, const std::string &value) {
        return page.has(" name=\"" + name + "\" value=\"" + value + "\" ");
    }

    void makeRecord(const std::string &name = "rule") {
        const Response response =
            submit(formData("action=apply&index=0&apply=1") +
                   Fields{{fresh + "name", name}, {fresh + "check_type", "webui_login"}});
        ASSERT_TRUE(response.has("Changes to configuration succeeded.")) << response.body;
    }
    void addAction(const std::string &type, const std::string &name, const Fields &more = {}) {
        saveAction("new", type, more + Fields{{"trigger.new." + type + ".name", name}});
    }
    /// Saves a trigger action; the fields of `more` follow.
    Response saveAction(const std::string &number, const std::string &type, const Fields &more) {
        return command(number == "new" ? "trigger_new" : "trigger_save",
                       Fields{{"modify_index", number}, {"trigger_action_type", type}} + more);
    }

    std::string cookie;
};

TEST_F(AutoResponse, PortsAreStoredAsAListOfReferences) {
    makeRecord();
    const auto save = [&](const std::string &type, const std::string &ports) {
        return command("apply", {{record1 + "name", "rule"},
                                 {record1 + "check_type", type},
                                 {record1 + ports + ".dev_refs.dev_ref2", "on"},
                                 {record1 + ports + ".dev_refs.dev_ref8", "on"}});
    };
    save("serial_login", "serial.login");
    EXPECT_EQ(stored(record1 + "serial.login.dev_refs.total"), "2");
    EXPECT_EQ(stored(record1 + "serial.login.dev_refs.dev_ref2"), "config.ports.port8");
    EXPECT_TRUE(get("form=autoresponsestatus", cookie).has("Port 2, Port 8"));
    EXPECT_TRUE(save("power", "power").has("Check type 'power' is not for multiple devices"));
    EXPECT_EQ(stored(record1 + "check_type"), "serial_login");
}

TEST_F(AutoResponse, RefusedValuesStoreNothingAndStayOnThePage) {
    const struct {
        const char *name, *type, *key, *value, *message;
    } rows[] = {
        {"type that is not offered", "sms", "name", "rule", "No Check type selected"},
        {"no name", "cli_login", "name", " ", "Please give the auto-response a name."},
        {"taken name", "cli_login", "name", "first", "another auto-response named '<i>first</i>'"},
        {"markup", "cli_login", "name", "a<b>", "<i>Name</i> can not contain markup."},
        {"address", "net_ping", "net.ping.address", "a_b", "Network Address"},
        {"too large", "net_ping", "net.ping.frequency", "2147483648", "at most 2147483647"},
        {"hour", "cli_login", "time_monday_from_hour", "24", "may be at most 23"},
    };
    EXPECT_TRUE(submit(formData("action=apply&config.autoresponse.boot_delay=soon"))
                    .has("Non-negative Integer"));
    expectLog("can not contain markup");
    makeRecord("first");
    const std::string before = configuration();
    for (const auto &row : rows) {
        const bool isName = std::string(row.key) == "name";
        const Response response = submit({{"action", "apply"},
                                          {"index", "0"},
                                          {fresh + row.key, row.value},
                                          {fresh + "check_type", row.type},
                                          {fresh + "repeat_timeout", "77"},
                                          {isName ? "no" : fresh + "name", "rule"}});
        EXPECT_THAT(response.boxes(), HasSubstr(row.message)) << row.name;
        EXPECT_TRUE(shows(response, fresh + "repeat_timeout", "77")) << row.name;
        EXPECT_EQ(configuration(), before) << row.name;
        EXPECT_FALSE(response.has("<b>\"")) << row.name;
    }
}

TEST_F(AutoResponse, ArgumentsAreAListThatGrowsAndShrinks) {
    makeRecord();
    addAction("custom", "run", {{"trigger.new.custom.argument", "one"}});
    const std::string list = record1 + "trigger_actions.action1.custom.args.";
    const auto save = [&](const char *more) {
        saveAction("1", "custom", formData(more));
        return stored(list + "total") + ": " + stored(list + "arg1") + " " + stored(list + "arg2");
    };
    EXPECT_EQ(save("trigger.1.custom.argument=<two>"), "2: one <two>");
    EXPECT_EQ(save("trigger.1.custom.args.arg1.delete=on&trigger.1.custom.args.arg2=2&"
                   "trigger.1.custom.argument=three"),
              "2: 2 three");
    EXPECT_EQ(save("trigger.1.custom.args.arg1.delete=on&trigger.1.custom.args.arg2.delete=on"),
              ":  ");
}

TEST_F(AutoResponse, ActionsAreOrderedModifiedAndDeleted) {
    makeRecord();
    for (const char *name : {"one", "two", "three"})
        addAction("snmp", name);
    const auto names = [&] {
        std::string text = stored(record1 + "trigger_actions.total") + ":";
        for (const char *number : {"1", "2", "3"})
            text += " " + stored(record1 + "trigger_actions.action" + number + ".snmp.name");
        return text;
    };
    saveAction("3", "snmp", formData("trigger.3.snmp.name=drei&trigger.3.position=1"));
    EXPECT_TRUE(open("&action=delete&index=1&list=trigger&modify_index=2")
                    .has("Delete the action 'one' of 'rule'?"));
    EXPECT_EQ(names(), "3: drei one two") << "a link deletes nothing";
    command("delete", formData("list=trigger&modify_index=2"));

    EXPECT_TRUE(saveAction("new", "magic", {}).has("Unknown Action"));
    expectLog("Modifying action out of range");
    expectLog("Unrecognized prefix: other");
    for (const char *index : {"3", "0", "x", "99999999999"}) {
        EXPECT_TRUE(saveAction(index, "snmp", {}).has(gone)) << index;
        command("delete", {{"list", "trigger"}, {"modify_index", index}});
        EXPECT_TRUE(open(std::string("&action=trigger&index=1&modify_index=") + index).has(gone));
    }
    EXPECT_TRUE(command("delete", formData("list=other&modify_index=1")).has("no such action"));
    EXPECT_EQ(names(), "2: drei two ");
}

TEST_F(AutoResponse, DamagedListsCountWhatIsThereAndAreMendedByTheNextChange) {
    makeRecord();
    const std::string list = record1 + "trigger_actions.";
    configure({{list + "total", "9"},
               {list + "action2.type", "snmp"},
               {list + "action2.snmp.name", "two"},
               {list + "action5.type", "snmp"},
               {list + "action5.snmp.name", "five"}});
    expectLog("no tree element");
    EXPECT_EQ(open("&action=modify&index=1").lacks({">two<", ">five<", "modify_index=5"}), "");
    saveAction("5", "snmp", formData("trigger.5.snmp.name=late&trigger.5.position=1"));
    EXPECT_EQ(stored(list + "total"), "2");
    EXPECT_EQ(stored(list + "action1.snmp.name"), "late");
    EXPECT_EQ(stored(list + "action2.snmp.name"), "two");
    EXPECT_EQ(stored(list + "action5"), "");
}

TEST_F(AutoResponse, StaleSubmissionsAreRefused) {
    for (const char *name : {"one", "two", "three"})
        makeRecord(name);
    const std::string second = opened(2);
    const auto send = [&](const char *name, const std::string &index, const std::string &seen) {
        const std::string prefix = "config.autoresponse.autoresponse" + index + ".";
        return submit({{"action", name},
                       {"index", index},
                       {"opened", seen},
                       {"trigger_action_type", "snmp"},
                       {prefix + "name", "late"},
                       {prefix + "check_type", "cli_login"}});
    };
    EXPECT_TRUE(open("&action=cancel&index=1").has("Cancel what 'one' is doing?"));
    EXPECT_EQ(stored("config.autoresponse.command"), "") << "a link commands nothing";
    command("cancel");
    EXPECT_EQ(stored("config.autoresponse.command"), "cancel one");
    // Somebody deletes the first: the second is now what the third was, and the third is none.
    EXPECT_TRUE(open("&action=delete&index=1").has("Delete the auto-response 'one'"));
    EXPECT_EQ(stored("config.autoresponse.total"), "3") << "a link deletes nothing";
    send("delete", "1", opened(1));
    EXPECT_EQ(stored("config.autoresponse.total"), "2");
    EXPECT_EQ(stored("config.autoresponse.autoresponse2.name"), "three");
    EXPECT_EQ(stored("config.autoresponse.autoresponse3"), "");
    const std::string before = configuration();
    for (const char *name : {"apply", "delete", "cancel", "trigger_new", "trigger_save"}) {
        const Response changed = send(name, "2", second);
        EXPECT_TRUE(changed.has("was changed after this page was opened")) << name;
        EXPECT_TRUE(send(name, "2", "").has("was changed after this page")) << name;
        EXPECT_TRUE(send(name, "3", second).has("no such auto-response any more")) << name;
        EXPECT_EQ(std::string(name) == "apply", changed.has("value=\"late\"")) << name;
    }
    EXPECT_EQ(configuration(), before);
    // What a refused page shows again stays refused.
    EXPECT_EQ(openedOf(send("apply", "2", second)), second);
}

TEST_F(AutoResponse, SelectButtonShowsThePanelAndSavesNothing) {
    const std::string before = configuration();
    const Response response =
        submit(formData("action=apply&index=0&select=Select") +
               Fields{{fresh + "name", "typed"}, {fresh + "check_type", "power"}});
    EXPECT_EQ(response.lacks({"<div id=\"power_check_div\" style=\"display: block\">",
                              "<div id=\"none_check_div\" style=\"display: none\">"}),
              "");
    EXPECT_TRUE(shows(response, fresh + "name", "typed"));
    EXPECT_EQ(response.holds({"error-message", "SMS Command Check"}), "") << "no modem, no SMS";
    EXPECT_EQ(configuration(), before);
}

} // namespace
} // namespace zandorin::test
