#include "tests/support/request_test.h"

namespace zandorin::test {
namespace {

const std::string record1 = "config.autoresponse.autoresponse1.";
const std::string gone = "There is no such action any more.";

class AutoResponse : public RequestTest {
  protected:
    AutoResponse() { configure("config.ports.port3.device.type", "enviro"); }

    Response open(const std::string &query) { return get("form=autoresponse" + query); }
    Response submit(const Fields &fields) {
        return post(Fields{{"form", "autoresponse"}} + fields);
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

    void makeRecords(const std::vector<std::string> &names) const {
        Fields records = {{"config.autoresponse.total", std::to_string(names.size())}};
        for (std::size_t i = 0; i < names.size(); ++i) {
            const std::string key = "config.autoresponse.autoresponse" + std::to_string(i + 1);
            records = records + Fields{{key + ".name", names[i]}, {key + ".check_type", "alarm"}};
        }
        configure(records);
    }
    void addAction(const std::string &type, const std::string &name, const Fields &more = {}) {
        saveAction("new", type, more + Fields{{"trigger.new." + type + ".name", name}});
    }
    /// Saves a trigger action; the fields of `more` follow.
    Response saveAction(const std::string &number, const std::string &type, const Fields &more) {
        return command(number == "new" ? "trigger_new" : "trigger_save",
                       Fields{{"modify_index", number}, {"trigger_action_type", type}} + more);
    }
};

TEST_F(AutoResponse, PortsAreStoredAsAListOfReferences) {
    makeRecords({"rule"});
    const auto save = [&](const std::string &type, const std::string &ports) {
        return command("apply", {{record1 + "name", "rule"},
                                 {record1 + "check_type", type},
                                 {record1 + ports + ".dev_refs.dev_ref2", "on"},
                                 {record1 + ports + ".dev_refs.dev_ref8", "on"}});
    };
    save("serial_login", "serial.login");
    EXPECT_EQ(stored(record1 + "serial.login.dev_refs.total"), "2");
    EXPECT_EQ(stored(record1 + "serial.login.dev_refs.dev_ref2"), "config.ports.port8");
    EXPECT_TRUE(get("form=autoresponsestatus").has("Port 2, Port 8"));
    EXPECT_TRUE(save("power", "power").has("Check type 'power' is not for multiple devices"));
    EXPECT_EQ(stored(record1 + "check_type"), "serial_login");
}

TEST_F(AutoResponse, ArgumentsAreAListThatGrowsAndShrinks) {
    makeRecords({"rule"});
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
    makeRecords({"rule"});
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
    makeRecords({"rule"});
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
    makeRecords({"one", "two", "three"});
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

} // namespace
} // namespace zandorin::test
