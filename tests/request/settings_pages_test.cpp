#include "tests/support/page_reader.h"
#include "tests/support/request_test.h"

#include <map>
#include <regex>
#include <set>

namespace zandorin::test {
namespace {

/// Every page of the navigation that has settings.
class SettingsPage : public RequestTest, public ::testing::WithParamInterface<std::string> {
  protected:
    SettingsPage() {
        configure("config.ui.debug", "on");
        configure("config.auth.pmshell.available", "on");
        for (const char *path :
             {"/etc/config/ssl_cert.pem", "/etc/config/ssl_key.pem", "/var/log/messages"})
            put(path, "a line\n");
        put("/var/run/snmpd/snmpapp.conf", "oldEngineID 0x8000\n");
    }

    Response open() { return get("form=" + GetParam(), login()); }
};

/// A valid value of an element type; "%" becomes the field's number, three digits of it.
const Fields typical_values =
    formData("text=Text %&printable=Words, %&alphanum=name-%&hostname=host%.example.com&"
             "address=host%.example.com&addresslist=host%.example.com,192.0.2.1,2001:db8::1&"
             "ip=2001:db8::%&netmask=ffff:%::&tcpport=65%&port=61%&email=u%@example.com&"
             "username=user%&snmpusername=user_%&phonenumber=+6173000%") +
    Fields{{"unsafe_printable", "<b>\"%\"</b> & 'so' (on)"},
           {"password", "<secret> & %"},
           {"distinguishedname", "cn=u\\,% (x),dc=example"}};

/// Texts that the page's validator judges.
const Fields judged_values =
    formData("config.auth.sessionlifetime=%&config.bfprotection.limit=%&"
             "config.bfprotection.timeout=%&config.system.nagios.nsca.interval=%&"
             "config.services.snmp.engineid=0x80001f8800%0&"
             "config.system.snmp.engineid=80001F8800%0&config.system.snmp.engineid2=80001f8800%0");

/// What an administrator enters into a field; nothing when its type has no typical value.
std::string valueFor(const PageField &field, const std::string &type, std::size_t number) {
    if (!field.options.empty())
        return field.options.back();
    if (field.kind == "checkbox")
        return "on";
    for (const auto &[name, pattern] : judged_values + typical_values)
        if (name == field.name || name == type)
            return std::regex_replace(pattern, std::regex("%"), std::to_string(100 + number));
    return "";
}

bool isPlain(const PageField &field) {
    return field.kind == "hidden" || field.name.find("confirm") != std::string::npos;
}

/// Inputs that act at once and keep no value: the clock's and those of the page "reboot".
bool isAction(const std::string &name) {
    return name.starts_with("time.") || name == "config.system.reboot" ||
           name == "config.system.erase" || name == "config.system.fips";
}

/// The message of the day, which is kept in a file of its own.
constexpr const char *motd = "config.system.motd";

/// What a browser sends when the fields stand as the page has them.
Fields untouched(const std::vector<PageField> &fields,
                 const std::map<std::string, std::string> &elements) {
    Fields sent = {{"apply", "Apply"}};
    std::set<std::string> names;
    for (const PageField &field : fields)
        if ((elements.contains(field.name) || isPlain(field)) && names.insert(field.name).second &&
            (field.kind != "checkbox" || field.checked))
            sent.emplace_back(field.name, field.value);
    return sent;
}

TEST_P(SettingsPage, EveryValueComesBack) {
    const Response empty = open();
    const auto elements = readElements(empty.body);
    if (elements.empty())
        GTEST_SKIP() << "no settings";

    Fields sent = {{"apply", "Apply"}};
    std::map<std::string, std::string> typed;
    for (const PageField &field : readFields(empty.body)) {
        if (field.kind == "hidden" && field.name != "form")
            sent.emplace_back(field.name, field.value);
        if (const auto element = elements.find(field.name); element != elements.end()) {
            const std::string value = valueFor(field, element->second, typed.size());
            ASSERT_NE(value, "") << "no value of type " << element->second << " for " << field.name;
            typed[field.name] = value;
            sent.emplace_back(field.name, value);
        } else if (isPlain(field) && field.kind == "password") {
            sent.emplace_back(field.name, sent.back().second);
        } else if (field.name == motd) {
            typed[motd] = "<b>Hello</b> & welcome";
            sent.emplace_back(motd, typed[motd]);
        } else {
            EXPECT_TRUE(isPlain(field) || isAction(field.name) || field.name.ends_with(".delete"))
                << "not saved: " << field.name;
        }
    }
    for (const auto &element : elements)
        EXPECT_TRUE(typed.contains(element.first)) << "no input for " << element.first;

    sent.emplace_back("form", GetParam());
    const Response saved = post(sent, login());
    ASSERT_EQ(saved.part("class=\"error-message\"", "</p>"), "");
    EXPECT_TRUE(saved.has("Changes to configuration succeeded."));
    for (const auto &[key, value] : typed) {
        if (key == "config.system.password")
            EXPECT_EQ(stored(key).substr(0, 1), "$") << "not in clear";
        else if (key == motd)
            EXPECT_EQ(read("/etc/config/motd"), value);
        else
            EXPECT_EQ(stored(key), value) << key;
    }

    const std::vector<PageField> fields = readFields(open().body);
    for (const PageField &field : fields) {
        const auto value = typed.find(field.name);
        if (value == typed.end())
            continue;
        if (field.kind == "checkbox")
            EXPECT_TRUE(field.checked) << field.name;
        else if (field.kind == "password")
            EXPECT_EQ(field.value, "********") << field.name;
        else
            EXPECT_EQ(field.current.empty() ? field.value : field.current, value->second)
                << field.name;
    }

    // Sent again as it stands, the page changes nothing.
    const std::string before = configuration();
    const Response second = post(untouched(fields, elements), login());
    EXPECT_EQ(second.part("class=\"error-message\"", "</p>"), "");
    EXPECT_EQ(configuration(), before);

    // Boxes that are not checked, and those that delete what is stored.
    Fields cleared;
    for (const auto &[name, value] : untouched(fields, elements))
        if (typed.count(name) == 0 || value != "on")
            cleared.emplace_back(name, value);
    for (const PageField &field : fields)
        if (field.name.ends_with(".delete"))
            cleared.emplace_back(field.name, "on");
    post(cleared, login());
    for (const PageField &field : fields) {
        const bool deletes = field.name.ends_with(".delete");
        const bool unchecked = field.kind == "checkbox" && typed.contains(field.name) &&
                               field.name != "config.delayed"; // which delays its own end
        if (deletes || unchecked) {
            const std::string key = field.name.substr(0, field.name.size() - (deletes ? 7 : 0));
            EXPECT_EQ(key == motd ? "" : stored(key), "") << key;
        }
    }
    EXPECT_FALSE(typed.contains(motd) && exists("/etc/config/motd"));
}

INSTANTIATE_TEST_SUITE_P(All, SettingsPage, ::testing::ValuesIn(navigationLeaves()),
                         [](const auto &parameter) { return parameter.param; });

} // namespace
} // namespace zandorin::test
