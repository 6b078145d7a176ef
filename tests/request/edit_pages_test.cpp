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
    const Fields checks = formData(
        "webui_login=Web UI Login/Logout Check&cli_login=CLI Session Check&"
        "routeddata=Routed Data Usage Check&celldata=Cellular Data Usage Check&"
        "sms=SMS Command Check&net_ping=ICMP Ping Check&ups_status=UPS Status Check&"
        "power=UPS Power Check&alarm=Digital I/O Input Check&environmental=Environmental Check&"
        "conman=Interface Event Check&serial_login=Serial Login/Logout Check&"
        "serial_signal=Serial Signal Check&serial_pattern=Serial Pattern Check&"
        "usb_console_status=USB Console Status Check&custom=Custom Check");
    const Fields actions = formData(
        "email=Email Action&sms=SMS Action&snmp=SNMP Trap Action&nagios=Nagios Event Action&"
        "conman=Network Interface Event Action&rpc=RPC/PDU Action&dio=Digital Output Action&"
        "custom=Custom Script Action");
    for (const auto &[type, title] : checks)
        pages.push_back({"Check_" + type, "form=autoresponse&action=modify&index=1", "autoresponse",
                         title, type});
    for (const auto &[type, title] : actions)
        pages.push_back({"Action_" + type,
                         "form=autoresponse&action=resolve&index=1&modify_index=1", "action", title,
                         type});
    return pages;
}

/// Valid values of inputs that take no plain number, by the end of their names; the first counts.
const std::string text = "<b>\"tank\"</b> & 'so' on";
const std::string two_lines = "<b>\"tank\"</b> & 'so'\non";
const Fields special_values =
    formData("mac_addr=00:13:c6:00:2b:01&ip_addr=192.0.2.7&net.ping.address=gateway.example.com&"
             "script=/etc/version&to_addr=a@example.com, b@example.com&gateway_email=s@example.com&"
             "phone=+15550100&phone_number=+15550100&.number=+15550100&from_hour=1&from_min=2&"
             "to_hour=3&to_min=4&nagios.message=tank 7, left") +
    Fields{{".ssh_auth_keys", key_one}, {".password", secret}, {".confirm", secret},
           {"message", two_lines},      {"body", two_lines},   {"subject", text},
           {"pattern", text},           {"argument", text}};

class EditPageTest : public RequestTest, public ::testing::WithParamInterface<EditPage> {
  protected:
    EditPageTest() {
        configure(
            formData("config.system.model=HX9008&config.system.sms.method=cellular&"
                     "config.ports.port2.device.type=ups&config.ports.port3.device.type=enviro&"
                     "config.ports.port4.device.type=rpc&config.groups.group7.name=ops&"
                     "config.power.outlets.outlet1.label=Rack&config.groups.total=7&"
                     "config.autoresponse.total=1") +
            Fields{{rule_ + "name", "rule"},
                   {rule_ + "check_type", "webui_login"},
                   {rule_ + "webui_login.trigger_login", "on"},
                   {rule_ + "resolve_actions.total", "1"},
                   {rule_ + "resolve_actions.action1.type",
                    GetParam().form == "action" ? GetParam().type : "snmp"}});
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
        // Behind the panels stand the hidden ones again.
        for (const std::string &part :
             {panel, form.substr(form.find("value=\"Save Auto-Response\""))})
            for (const PageField &field : readFields(part))
                fields.push_back(field);
        return fields;
    }

    static std::string newValue(const PageField &field, std::size_t number) {
        for (auto other = field.options.rbegin(); other != field.options.rend(); ++other)
            if (*other != field.value)
                return *other;
        if (!field.options.empty())
            return field.value;
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
        const bool isAction = GetParam().form == "action";
        EXPECT_EQ(stored(rule_ + "webui_login.trigger_login") == "on", isAction)
            << "nothing is left of the check before";
        const std::string list = isAction ? "&action=modify&index=1" : "";
        EXPECT_TRUE(get("form=autoresponse" + list, login()).has(">" + GetParam().title));
    }

    // Sent again as it stands, the page changes nothing.
    const std::string before = configuration() + read(passwd);
    EXPECT_EQ(post(asShown(shown), login()).part("class=\"error-message\"", "</p>"), "");
    EXPECT_EQ(configuration() + read(passwd), before);
}

INSTANTIATE_TEST_SUITE_P(All, EditPageTest, ::testing::ValuesIn(editPages()),
                         [](const auto &parameter) { return parameter.param.name; });

} // namespace
} // namespace zandorin::test
