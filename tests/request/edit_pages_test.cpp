#include "tests/request/users_page.h"
#include "tests/support/page_reader.h"

#include <algorithm>

// The pages that edit one record of a list: a new value is typed into every input that the page
// has, and must be there again after the save.

namespace zandorin::test {
namespace {

constexpr const char *secret = "wren & <owl>";

struct EditPage {
    std::string name;
    std::string query;
    std::string form;       ///< its name
    std::string title = ""; ///< of the chosen panel
    std::string type = "";  ///< chosen type of a check or an action
};

std::vector<EditPage> editPages() {
    std::vector<EditPage> pages = {
        {"User", "form=users&action=edit&index=1&type=user", "user"},
        {"Group", "form=users&action=edit&index=7&type=group", "group"},
        {"AutoResponses", "form=autoresponse", "settings"},
    };
    const struct {
        const char *type;
        const char *title;
    } checks[] =
        {
            {"webui_login", "Web UI Login/Logout Check"},
            {"cli_login", "CLI Session Check"},
            {"routeddata", "Routed Data Usage Check"},
            {"celldata", "Cellular Data Usage Check"},
            {"sms", "SMS Command Check"},
            {"net_ping", "ICMP Ping Check"},
            {"ups_status", "UPS Status Check"},
            {"power", "UPS Power Check"},
            {"alarm", "Digital I/O Input Check"},
            {"environmental", "Environmental Check"},
            {"conman", "Interface Event Check"},
            {"serial_login", "Serial Login/Logout Check"},
            {"serial_signal", "Serial Signal Check"},
            {"serial_pattern", "Serial Pattern Check"},
            {"usb_console_status", "USB Console Status Check"},
            {"custom", "Custom Check"},
        },
      actions[] = {
          {"email", "Email Action"},
          {"sms", "SMS Action"},
          {"snmp", "SNMP Trap Action"},
          {"nagios", "Nagios Event Action"},
          {"conman", "Network Interface Event Action"},
          {"rpc", "RPC/PDU Action"},
          {"dio", "Digital Output Action"},
          {"custom", "Custom Script Action"},
      };
    for (const auto &[type, title] : checks)
        pages.push_back({std::string("Check_") + type, "form=autoresponse&action=modify&index=1",
                         "autoresponse", title, type});
    for (const auto &[type, title] : actions)
        pages.push_back({std::string("Action_") + type,
                         "form=autoresponse&action=resolve&index=1&modify_index=1", "action", title,
                         type});
    return pages;
}

/// Valid values of inputs that take no plain number, by the end of their names; the first counts.
const Fields special_values = {
    {"mac_addr", "00:13:c6:00:2b:01"},
    {"ip_addr", "192.0.2.7"},
    {"net.ping.address", "gateway.example.com"},
    {"script", "/etc/version"},
    {"to_addr", "a@example.com, b@example.com"},
    {"gateway_email", "s@example.com"},
    {"phone", "+15550100"},
    {"phone_number", "+15550100"},
    {".number", "+15550100"},
    {"from_hour", "1"},
    {"from_min", "2"},
    {"to_hour", "3"},
    {"to_min", "4"},
    {".ssh_auth_keys", key_one},
    {".password", secret},
    {".confirm", secret},
    {"nagios.message", "tank 7, left"},
    {"message", "<b>\"tank\"</b> & 'so'\non"},
    {"body", "<b>\"tank\"</b> & 'so'\non"},
    {"subject", "<b>\"tank\"</b> & 'so' on"},
    {"pattern", "<b>\"tank\"</b> & 'so' on"},
    {"argument", "<b>\"tank\"</b> & 'so' on"},
};

class EditPageTest : public RequestTest, public ::testing::WithParamInterface<EditPage> {
  protected:
    EditPageTest() {
        const std::string action = rule_ + "resolve_actions.action1.";
        const Fields stored = {
            {"config.system.model", "HX9008"},
            {"config.system.sms.method", "cellular"},
            {"config.ports.port2.device.type", "ups"},
            {"config.ports.port3.device.type", "enviro"},
            {"config.ports.port4.device.type", "rpc"},
            {"config.power.outlets.outlet1.label", "Rack"},
            {"config.groups.group7.name", "ops"},
            {"config.groups.total", "7"},
            {"config.autoresponse.total", "1"},
            {rule_ + "name", "rule"},
            {rule_ + "check_type", "webui_login"},
            {rule_ + "webui_login.trigger_login", "on"},
            {rule_ + "resolve_actions.total", "1"},
            {action + "type", GetParam().form == "action" ? GetParam().type : "snmp"},
        };
        for (const auto &[key, value] : stored)
            configure(key, value);
        addUser("ann", {"pmshell"});
    }

    const std::string rule_ = "config.autoresponse.autoresponse1.";

    std::string form() {
        const Response page = get(GetParam().query, login());
        return page.part("<form method=\"post\" name=\"" + GetParam().form + "\"", "</form>");
    }

    /// The fields that a person deals with: of the panels of types only the chosen one's.
    static std::vector<PageField> fieldsIn(const std::string &form) {
        const auto panels = form.find("none_check_div");
        std::vector<PageField> fields = readFields(form.substr(0, panels));
        if (panels == std::string::npos)
            return fields;
        const auto start = form.find("\"" + GetParam().type + "_check_div\"");
        const auto end = std::min(form.find("_check_div\"", start + GetParam().type.size() + 12),
                                  form.find("value=\"Save Auto-Response\""));
        const std::string panel = form.substr(start, end - start);
        EXPECT_NE(panel.find(GetParam().title), std::string::npos);
        const std::vector<PageField> chosen = readFields(panel);
        fields.insert(fields.end(), chosen.begin(), chosen.end());
        // Behind the panels stand the hidden ones again.
        const std::vector<PageField> rest =
            readFields(form.substr(form.find("value=\"Save Auto-Response\"")));
        fields.insert(fields.end(), rest.begin(), rest.end());
        return fields;
    }

    static std::string newValue(const PageField &field, std::size_t number) {
        if (!field.options.empty()) {
            const auto other =
                std::find_if(field.options.rbegin(), field.options.rend(),
                             [&](const std::string &option) { return option != field.value; });
            return other == field.options.rend() ? field.value : *other;
        }
        for (const auto &[end, value] : special_values)
            if (field.name.ends_with(end))
                return value;
        return std::to_string(700 + number);
    }

    static Fields asShown(const std::vector<PageField> &fields) {
        Fields sent = {{"apply", "Apply"}};
        for (const PageField &field : fields)
            if (field.kind != "checkbox" || field.checked)
                sent.emplace_back(field.name, field.value);
        return sent;
    }
};

TEST_P(EditPageTest, EveryValueComesBack) {
    std::vector<PageField> fields = fieldsIn(form());
    std::map<std::string, PageField> typed;
    for (PageField &field : fields) {
        if (field.kind == "hidden" || field.kind == "file" || field.name == "select.all")
            continue;
        if (field.kind == "checkbox")
            field.checked = !field.checked;
        else if (field.kind == "radio" && field.name.ends_with("_type"))
            field.value = GetParam().type;
        else
            field.value = newValue(field, typed.size());
        EXPECT_TRUE(typed.emplace(field.name, field).second) << "twice: " << field.name;
    }
    ASSERT_GE(typed.size(), 2U);
    const Response answer = post(asShown(fields), login());
    ASSERT_EQ(answer.part("class=\"error-message\"", "</p>"), "");
    ASSERT_TRUE(answer.has("Changes to configuration succeeded."));

    const std::vector<PageField> shown = fieldsIn(form());
    for (const auto &[name, field] : typed) {
        // What is added to a list comes back as one of its entries.
        const bool isAdded = name.ends_with("custom.argument");
        const auto again = std::find_if(shown.begin(), shown.end(), [&](const PageField &other) {
            return isAdded ? other.current == field.value : other.name == name;
        });
        ASSERT_NE(again, shown.end()) << name;
        if (field.kind == "checkbox")
            EXPECT_EQ(again->checked, field.checked) << name;
        else if (field.kind == "password")
            EXPECT_EQ(again->value, "********") << name;
        else
            EXPECT_EQ(again->current.empty() ? again->value : again->current, field.value) << name;
    }

    if (!GetParam().type.empty()) {
        EXPECT_EQ(stored(rule_ + "webui_login.trigger_login") == "on", GetParam().form == "action")
            << "nothing is left of the check before";
        const std::string shownIn =
            GetParam().form == "action"
                ? get("form=autoresponse&action=modify&index=1", login()).body
                : get("form=autoresponse", login()).body;
        EXPECT_NE(shownIn.find(">" + GetParam().title), std::string::npos) << "in its list";
    }

    // Sent again as it stands, the page changes nothing.
    const std::string before = read(config_file) + read(passwd);
    EXPECT_EQ(post(asShown(shown), login()).part("class=\"error-message\"", "</p>"), "");
    EXPECT_EQ(read(config_file) + read(passwd), before);
}

INSTANTIATE_TEST_SUITE_P(All, EditPageTest, ::testing::ValuesIn(editPages()),
                         [](const auto &parameter) { return parameter.param.name; });

} // namespace
} // namespace zandorin::test
