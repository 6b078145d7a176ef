#include "tests/request/users_page.h"
#include "tests/support/pages.h"

// The pages of settings, and those that edit one record of a list: a new value is typed into every
// input that the page has, and must be there again after the save.

namespace zandorin::test {
namespace {

constexpr const char *secret = "wren & <owl>";
/// The message of the day, which is kept in a file of its own.
constexpr const char *motd = "config.system.motd";

struct Page {
    std::string name;
    std::string query;
    std::string form = ""; ///< its name; of a page of settings none
    std::string type = ""; ///< chosen type of a check or an action

    friend void PrintTo(const Page &page, std::ostream *out) { *out << page.name; }
};

std::vector<Page> pages() {
    std::vector<Page> pages = {
        {"User", "form=users&action=edit&index=1&type=user", "user"},
        {"Group", "form=users&action=edit&index=7&type=group", "group"},
        {"TimeServer", "form=time&action=edit&index=1&type=server", "server"},
        {"AutoResponses", "form=autoresponse", "settings"},
    };
    for (const std::string &id : settingsPages())
        pages.push_back({id, formQuery(id)});
    for (const std::string type :
         {"webui_login", "cli_login", "routeddata", "celldata", "sms", "net_ping", "ups_status",
          "power", "alarm", "environmental", "conman", "serial_login", "serial_signal",
          "serial_pattern", "usb_console_status", "custom"})
        pages.push_back(
            {"Check_" + type, "form=autoresponse&action=modify&index=1", "autoresponse", type});
    for (const std::string type :
         {"email", "sms", "snmp", "nagios", "conman", "rpc", "dio", "custom"})
        pages.push_back({"Action_" + type,
                         "form=autoresponse&action=resolve&index=1&modify_index=1", "action",
                         type});
    return pages;
}

/// Valid values of inputs that take no plain number, by their element's type or else by the end of
/// their names; "%" becomes the input's number, three digits of it.
const Fields values_of_types =
    formData("printable=Words, "
             "%&alphanum=name-%&hostname=host%.example.com&address=host%.example.com&"
             "addresslist=host%.example.com,192.0.2.1,2001:db8::1&ip=2001:db8::%&"
             "netmask=ffff:%::&subnetlist=192.0.2.0/24,2001:db8::%/"
             "128&email=u%@example.com&username=user%&phonenumber=+6173000%") +
    Fields{{"unsafe_printable", "<b>\"%\"</b> & 'so' (on)"},
           {"distinguishedname", "cn=u\\,% (x),dc=example"}};
const std::string text = "<b>\"tank\"</b> & 'so' on";
const std::string two_lines = "<b>\"tank\"</b> & 'so'\non";
const Fields values_of_names =
    formData("mac_addr=00:13:c6:00:2b:01&ip_addr=192.0.2.7&net.ping.address=gateway.example.com&"
             "script=/etc/version&to_addr=a@example.com, b@example.com&gateway_email=s@example.com&"
             "phone=+15550100&phone_number=+15550100&.number=+15550100&from_hour=1&from_min=2&"
             "to_hour=3&to_min=4&nagios.message=tank 7, left&engineid=0x80001f8800%0&"
             "engineid2=80001F8800%0&.escape=B") +
    Fields{{".ssh_auth_keys", key_one},     {"message", two_lines}, {"body", two_lines},
           {"email.subject", text},         {"pattern", text},      {"argument", text},
           {motd, "<b>Hello</b> & welcome"}};

std::string newValue(const PageField &field, const std::string &type, std::size_t number) {
    for (auto other = field.options.rbegin(); other != field.options.rend(); ++other)
        if (*other != field.value)
            return *other;
    if (!field.options.empty())
        return field.value;
    if (field.kind == "password")
        return secret;
    const std::string digits = std::to_string(100 + number);
    for (const auto &[name, pattern] : values_of_types)
        if (name == type)
            return std::regex_replace(pattern, std::regex("%"), digits);
    for (const auto &[end, pattern] : values_of_names)
        if (field.name.ends_with(end))
            return std::regex_replace(pattern, std::regex("%"), digits);
    return digits;
}

/// Inputs that act at once and keep no value: the clock's, those of the page "reboot", and what is
/// only tried.
bool isAction(const std::string &name) {
    return name.starts_with("time.") || name.starts_with("config.try.") ||
           name == "config.system.reboot" || name == "config.system.erase" ||
           name == "config.system.fips";
}

class EveryInput : public RequestTest, public ::testing::WithParamInterface<Page> {
  protected:
    EveryInput() {
        equip();
        if (isAction_)
            configure(rule_ + "resolve_actions.action1.type", page_.type);
    }

    const Page &page_ = GetParam();
    const bool isSettings_ = page_.form.empty();
    const bool isAction_ = page_.form == "action";
    const std::string rule_ = "config.autoresponse.autoresponse1.";

    Response open() { return get(page_.query); }

    std::vector<PageField> fields() { return readFields(open().body, page_.form, page_.type); }

    Response submit(const std::vector<PageField> &fields) {
        Fields sent = {{"form", page_.query.substr(5, page_.query.find('&') - 5)},
                       {"apply", "Apply"}};
        for (const PageField &field : fields)
            if ((field.kind != "checkbox" || field.checked) && !isAction(field.name) &&
                !(isSettings_ && (field.name == "action" || field.name == "type"))) // to add
                sent.emplace_back(field.name, field.value);
        return post(sent);
    }

    std::string kept() const { return configuration() + read(passwd) + read("/etc/config/motd"); }
};

TEST_P(EveryInput, ComesBackAsItWasTyped) {
    const auto elements = readElements(open().body);
    std::vector<PageField> sent = fields();
    std::map<std::string, PageField> typed;
    for (PageField &field : sent) {
        if (field.kind == "hidden" || field.kind == "file" || field.name == "select.all" ||
            isAction(field.name) || field.name.ends_with(".delete"))
            continue;
        const auto element = elements.find(field.name);
        if (field.kind == "checkbox")
            field.checked = !field.checked;
        else if (field.kind == "radio" && field.name.ends_with("_type"))
            field.value = page_.type;
        else
            field.value =
                newValue(field, element == elements.end() ? "" : element->second, typed.size());
        EXPECT_TRUE(typed.emplace(field.name, field).second) << "twice: " << field.name;
    }
    for (const auto &[name, type] : elements)
        EXPECT_TRUE(typed.contains(name)) << "no input for " << name;
    ASSERT_GE(typed.size(), isSettings_ ? 1U : 2U);
    const Response answer = submit(sent);
    ASSERT_EQ(answer.part("class=\"error-message\"", "</p>"), "");
    ASSERT_TRUE(answer.has("Changes to configuration succeeded."));

    std::vector<PageField> shown = fields();
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
        if (isSettings_ && field.kind == "password" && elements.contains(name)) {
            EXPECT_EQ(stored(name) == secret, name != "config.system.password") << name;
        }
    }
    if (!page_.type.empty()) {
        EXPECT_EQ(stored(rule_ + "webui_login.trigger_login") == "on", isAction_)
            << "nothing is left of the check before";
    }

    // Sent again as it stands, the page changes nothing.
    const std::string before = kept();
    EXPECT_EQ(submit(shown).part("class=\"error-message\"", "</p>"), "");
    EXPECT_EQ(kept(), before);

    // Boxes that are not checked, and those that delete what is stored.
    if (!isSettings_)
        return;
    for (PageField &field : shown)
        field.checked = field.name.ends_with(".delete");
    submit(shown);
    for (const PageField &field : shown) {
        const bool deletes = field.name.ends_with(".delete");
        if (deletes || (field.kind == "checkbox" && field.name != "config.delayed")) { // delays it
            EXPECT_EQ(stored(field.name.substr(0, field.name.size() - (deletes ? 7 : 0))), "")
                << field.name;
        }
    }
    EXPECT_FALSE(typed.contains(motd) && exists("/etc/config/motd"));
}

INSTANTIATE_TEST_SUITE_P(All, EveryInput, ::testing::ValuesIn(pages()),
                         [](const auto &parameter) { return testName(parameter.param.name); });

} // namespace
} // namespace zandorin::test
