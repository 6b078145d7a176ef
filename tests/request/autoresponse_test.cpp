#include "tests/support/pages.h"
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
    /// An action upon the first record.
    Response command(const std::string &action, const Fields &more = {}) {
        return submit(Fields{{"action", action}, {"index", "1"}, {"opened", "rule"}} + more);
    }
    /// What the form sends that nothing was done to.
    Fields sentBy(const std::string &query, const std::string &form, const std::string &type) {
        Fields fields;
        for (const PageField &field : readFields(open(query).body, form, type))
            if (field.kind != "checkbox" || field.checked)
                fields.emplace_back(field.name, field.value);
        return fields;
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

TEST_F(AutoResponse, LinksActOnlyAfterAQuestion) {
    makeRecords({"rule", "two"});
    EXPECT_TRUE(open("&action=cancel&index=1").has("Cancel what 'rule' is doing?"));
    EXPECT_EQ(stored("config.autoresponse.command"), "") << "a link commands nothing";
    command("cancel");
    EXPECT_EQ(stored("config.autoresponse.command"), "cancel rule");
    EXPECT_TRUE(open("&action=delete&index=1").has("Delete the auto-response 'rule'"));
    EXPECT_EQ(stored("config.autoresponse.total"), "2") << "a link deletes nothing";
    command("delete");
    EXPECT_EQ(stored("config.autoresponse.total"), "1");
}

TEST_F(AutoResponse, AsksTheServiceAndSavesNothing) {
    putProgram("/bin/auto-response", "echo \"asked <$*>\"");
    makeRecords({"one", "rule"});
    addAction("snmp", "trap");
    const Fields typed = {{"probe", "x"}, {record1 + "name", "typed"}};
    const Response check =
        submit(typed + Fields{{"action", "apply"}, {"index", "2"}, {"opened", "rule"}});
    EXPECT_TRUE(check.has("asked &lt;read 2&gt;"));
    EXPECT_EQ(stored(record1 + "name"), "one");
    const Response action = submit(typed + Fields{{"action", "trigger_save"},
                                                  {"index", "2"},
                                                  {"opened", "rule"},
                                                  {"modify_index", "1"}});
    EXPECT_TRUE(action.has("asked &lt;try 2 trigger 1&gt;"));
    EXPECT_FALSE(open("&action=apply&index=2&opened=rule&probe=x").has("asked"))
        << "a link asks nothing";
    EXPECT_TRUE(
        submit(typed + Fields{{"action", "apply"}, {"index", "3"}}).has("There is no such"));
}

TEST_F(AutoResponse, PagesThatWereOpenedEarlierHitTheirRecordAndNoOther) {
    makeRecords({"one", "rule", "three"});
    const std::string rule = "&action=modify&index=2";
    const std::string key = "config.autoresponse.autoresponse2.";
    const Fields page = sentBy(rule, "autoresponse", "alarm");
    addAction("snmp", "first"); // refused: that record is another one
    EXPECT_EQ(stored(key + "trigger_actions"), "");
    // Meanwhile somebody changes one field, and deletes the record before it.
    configure(key + "reset_timeout", "9");
    submit({{"action", "delete"}, {"index", "1"}, {"opened", "one"}});
    EXPECT_EQ(submit(Fields{{key + "repeat_timeout", "7"}} + page).boxes(), "");
    EXPECT_EQ(stored(record1 + "reset_timeout") + stored(record1 + "repeat_timeout"), "97");
    EXPECT_EQ(submit(Fields{{key + "reset_timeout", "8"}} + page).boxes(),
              "<i>Reset Timeout (seconds)</i> was changed by somebody else after this page was "
              "opened: '<i>9</i>' is stored now, '<i>8</i>' was to be saved. Nothing was saved; "
              "apply again to replace what is stored.");
    // The check became another one: what its panel sends belongs to neither.
    configure(record1 + "check_type", "webui_login");
    EXPECT_TRUE(submit(page).has("<i>Type</i> was changed by somebody else"));
    EXPECT_EQ(stored(record1 + "check_type"), "webui_login");
    command("delete");
    EXPECT_TRUE(
        submit(page).has("There is no such auto-response; it may have been deleted meanwhile."));
    EXPECT_TRUE(submit({{"action", "delete"}, {"index", "1"}}).has("The list has changed"));
    EXPECT_EQ(stored("config.autoresponse.total"), "1");
}

TEST_F(AutoResponse, PanelsThatWereOpenedEarlierHitTheirActionAndNoOther) {
    makeRecords({"rule"});
    for (const char *name : {"one", "two"})
        addAction("snmp", name);
    const Fields second = sentBy("&action=trigger&index=1&modify_index=2", "action", "");
    command("delete", formData("list=trigger&modify_index=1"));
    submit(Fields{{"trigger.2.snmp.name", "zwei"}} + second);
    EXPECT_EQ(stored(record1 + "trigger_actions.action1.snmp.name"), "zwei");
    expectLog("Modifying action out of range");
    EXPECT_TRUE(submit(second).has(gone)) << "it is another one by now";
}

} // namespace
} // namespace zandorin::test
