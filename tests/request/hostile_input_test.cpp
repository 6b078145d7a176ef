#include "platform/libzandorin/config_text.h"
#include "tests/request/users_page.h"
#include "tests/support/pages.h"

// Hostile texts wherever a text can come from, on every page. What a browser would act upon must
// be the same as with a harmless text in their place.

namespace zandorin::test {
namespace {

using Outline = std::vector<std::string>;

const struct Payload {
    const char *name;
    std::string text;
} payloads[] = {
    {"markup", "a'\"><zq zq='1'></textarea></title></script></select>--><zq zq=\"2\">"},
    {"quotes", "a\" onfocus=\"zq()\" zq='' onblur='zq()' zq=\"1"},
    {"line ends", "a\r\nSet-Cookie: zq=1\r\n\r\n<zq>\n<zq zq>"},
    {"path", "../../../../../../planted"},
    {"bytes",
     "%n%s%99999999d\x01\x0b\x1b[2J\x7f\t<zq>\x80\xa0\xff\xc0\xbc<zq>\xe2\x80\xa8\"\xfe<zq>"},
    {"long", std::string(2000, 'a') + "\"><zq>"},
    {"entities", "&#106;ava\tscript&colon;zq()&#60;zq&#62;&lt;zq&gt;&quot; zq=&quot;"},
    {"link", "javascript:zq()//CGI_CALL(ui::getHref,javascript:zq(),zq)#ui.build.vendor"},
};

/// A text of as many lines that holds nothing to break out with. It is no name, either.
std::string harmless(const std::string &text) {
    std::string lines = "x!";
    for (const char c : text)
        if (c == '\r' || c == '\n')
            lines += c + std::string("x!");
    return lines;
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

/// What an account, and a user's session, can have of it as its name.
std::string nameOf(std::string text) {
    std::erase_if(text, [](unsigned char c) {
        return c <= ' ' || c == 0x7f ||
               std::string_view(":=").find(static_cast<char>(c)) != std::string::npos;
    });
    return text.substr(text.size() - std::min<std::size_t>(text.size(), 200));
}

/// What the configuration's file can hold of it.
std::string storable(std::string text) {
    std::erase_if(text, [](unsigned char c) { return c < ' ' && std::isspace(c) == 0; });
    return platform::utf8FromLatin1(replaced(text, "\x0b", " "));
}

constexpr const char *planted = "contents of a file that nobody asked for";

/// Pages that no link leads to.
const char *const unlinked[] = {
    "form=users&action=add&type=user&index=3",
    "form=users&action=add&type=group&index=8",
    "form=users&action=delete&type=user&index=2&opened=ann",
    "form=autoresponse&action=new",
    "form=autoresponse&action=modify&index=1",
    "form=autoresponse&action=delete&index=1",
    "form=autoresponse&action=trigger&index=1&modify_index=1",
    "form=autoresponse&action=resolve&index=1&modify_index=1",
};

class HostileInput : public RequestTest {
  protected:
    HostileInput() {
        expectLog(""); // refusals
        put("/planted", planted);
        equip();
        const std::string rule = "config.autoresponse.autoresponse1.";
        configure({{"config.groups.group7.roles.role1", "status"},
                   {"config.groups.group7.roles.total", "1"},
                   {"config.users.user1.groups.group1", "admin"},
                   {"config.users.user1.groups.total", "1"},
                   {"config.users.user2.username", "ann"},
                   {"config.users.total", "2"},
                   {rule + "trigger_actions.total", "1"},
                   {rule + "trigger_actions.action1.type", "email"}});
        putFiles("text");
        // Ends at once, and none is run: what a real one gets stands in their own tests.
        putProgram("/bin/pam-client", "exit 1");
        remove("/usr/lib/zandorin/configurators");
    }

    /// Every file whose text a page shows, with that text in it. A user of that name is logged in.
    void putFiles(const std::string &text) {
        const std::string line = replaced(text, "\n", " ");
        put("/var/log/messages", "a line " + text + "\n" + text + "\n");
        put("/etc/version", text + "\n");
        put("/etc/config/motd", text);
        for (const char *name : {"snmpd", "snmpapp"})
            put("/var/run/snmpd/" + std::string(name) + ".conf", "oldEngineID " + text + "\n");
        put("/var/run/autoresponse.status",
            "1\t" + line + "\t" + line + "\t" + line + "\t" + line + "\n");
        put("/etc/config/users/ann/.ssh/authorized_keys", text + "\n");
        remove("/proc/uptime");
        put("/proc/uptime", text);
        put("/lldp", "lldp.eth0.chassis.name=" + text + "\nlldp." + text + ".port.descr=" + text +
                         "\nlldp.eth0." + text + "=b\nlocal-chassis.chassis.name=" + text + "\n");
        putProgram("/sbin/lldpcli", "grep -a ^l \"$ZANDORIN_ROOT/lldp\"");
        const std::string field = replaced(line, ":", " ");
        put(passwd, "root:x:0:0::/root:/bin/sh\n" + nameOf(text) + ":x:1000:1000:" + field +
                        ":/:/bin/sh\nann:x:1001:1001:" + field + ":/:\n");
        login(nameOf(text), "another");
        const std::string session = "/var/run/.sessions/session-another";
        put(session, replaced(read(session), "192.0.2.1", text));
    }

    Response open(const std::string &query, const std::string &user = "root") {
        return get(query, login(user, "own"));
    }

    static void compare(const Outline &calm, const Response &page, const std::string &what) {
        const Outline found = outline(page);
        const auto [was, is] = std::mismatch(calm.begin(), calm.end(), found.begin(), found.end());
        EXPECT_TRUE(was == calm.end() && is == found.end())
            << what << ": instead of " << (was == calm.end() ? "the end" : *was) << "\nthere is "
            << (is == found.end() ? "the end" : *is);
        EXPECT_TRUE(page.body.ends_with("</html>\n")) << what;
        EXPECT_FALSE(page.has(planted)) << what;
    }
};

/// By the id of a page: the page itself, and those of it that its links and others lead to.
class HostileText : public HostileInput, public ::testing::WithParamInterface<std::string> {
  protected:
    struct Page {
        std::string query;
        std::vector<PageField> fields = {};
        std::set<std::string> texts = {};   ///< of those that take any text
        std::set<std::string> checked = {}; ///< of those that the framework checks
        std::vector<std::string> buttons = {};
    };

    HostileText() {
        const std::string form = "form=" + GetParam();
        pages_.push_back({form});
        for (const std::string query : unlinked)
            if (query.starts_with(form + "&"))
                pages_.push_back({query});
        std::set<std::string> kinds; // of links that differ in a number only, one is enough
        for (std::size_t i = 0; i < pages_.size(); ++i) {
            const std::string body = open(pages_[i].query).body;
            pages_[i].fields = readFields(body);
            for (const std::string &element : captures(body, "\"([^\"]+)\":\\[\"text\""))
                pages_[i].texts.insert(element);
            for (const std::string &element : captures(body, "\"([^\"]+)\":\\[\""))
                pages_[i].checked.insert(element);
            EXPECT_NE(body.find("\"fields\":{}") == body.npos, pages_[i].checked.empty());
            parsePage(body).each([&](const Element &element) {
                const std::string link = element.get("href");
                if (element.get("type") == "submit")
                    pages_[i].buttons.push_back(element.get("name"));
                if (link.starts_with("?" + form + "&") &&
                    kinds.insert(std::regex_replace(link, std::regex("[0-9]+"), "1")).second)
                    pages_.push_back({link.substr(1)});
                return true;
            });
        }
    }

    /// The keys of the document and of the inputs that choose a kind of page, or all others.
    std::set<std::string> keysOf(bool kinds) const {
        static const std::regex kept("\\.([0-9]|$)|\\.delete$|\\.total$|\\.groups\\.|^config\\.("
                                     "delayed|ui\\..*|system\\.password|"
                                     "users\\.user[0-9]+\\.username)$");
        std::set<std::string> keys;
        for (const DocumentedKey &row : documentedKeys())
            keys.insert(row.key);
        for (const Page &page : pages_)
            for (const PageField &field : page.fields)
                if (field.name.starts_with("config."))
                    keys.insert(field.name);
        std::erase_if(keys, [kinds](const std::string &key) {
            return key.ends_with("type") != kinds || std::regex_search(key, kept);
        });
        return keys;
    }

    /// The text in all files and under these keys. A user of that name looks at the pages.
    std::vector<Response> openWith(const std::string &text, const std::set<std::string> &keys) {
        putFiles(text);
        Fields values = {{"config.users.user1.username", storable(nameOf(text))}};
        for (const std::string &key : keys)
            values.emplace_back(key, storable(text));
        put(config_file, unmarked_);
        configure(values);
        if (GetParam() == "commit") {
            // Collected changes are listed with what they were and will be. No configurator has
            // such a name.
            put("/etc/config/delayed/config.xml", replaced(configuration(), "rule", "other"));
            put("/etc/config/delayed/configurators", "?" + replaced(text, "\n", "\n?") + "\n");
            configure("config.delayed", "on");
        }
        std::vector<Response> pages;
        for (const Page &page : pages_)
            pages.push_back(open(page.query, nameOf(text)));
        return pages;
    }

    // Submissions.

    /// Posts the fields to the configuration as it was at first; the answer, and the page after
    /// a change.
    void submit(Fields fields, const std::string &query, std::vector<Response> &answers) {
        remove("/etc/config");
        fs::copy(onHost("/tmp/kept"), onHost("/etc/config"), fs::copy_options::recursive);
        answers.push_back(post(fields + formData(query), login("root", "own")));
        if (configuration() != read("/tmp/kept/config.xml"))
            answers.push_back(open(query));
    }

    /// The page as its inputs are, but with the text in all of them, and in those that take any
    /// text, for each of its buttons. In parts: in a fourth of those that the form checks itself.
    std::vector<Response> submitWith(const Page &page, const std::string &text, bool inParts) {
        constexpr std::size_t parts = 4;
        std::vector<Fields> variants(2 + (inParts ? parts : 0));
        std::size_t unchecked = 0;
        for (const PageField &field : page.fields) {
            const bool isSetting = field.name.find('.') != std::string::npos;
            const bool isOwn = isSetting && !page.checked.contains(field.name);
            for (std::size_t i = 0; i < variants.size(); ++i) {
                const bool isHere = i == 0   ? isSetting
                                    : i == 1 ? page.texts.contains(field.name)
                                             : isOwn && unchecked % parts == i - 2;
                variants[i].emplace_back(field.name, isHere ? text : field.value);
            }
            unchecked += isOwn ? 1 : 0;
        }
        for (const char *plain : {"username", "password", "response"})
            variants[0].emplace_back(plain, text);
        std::vector<Response> answers;
        for (const std::string &button : page.buttons)
            for (const Fields &fields : variants)
                if (std::any_of(fields.begin(), fields.end(),
                                [&](const auto &field) { return field.second == text; }))
                    submit(fields + Fields{{button, "on"}}, page.query, answers);
        return answers;
    }

    std::vector<Page> pages_;
    const std::string unmarked_ = configuration();
};

TEST_P(HostileText, IsStored) {
    for (const bool kinds : {false, true}) {
        const std::set<std::string> keys = keysOf(kinds);
        std::map<std::string, std::vector<Outline>> calm;
        for (const Payload &payload : payloads) {
            if (kinds && &payload - payloads > 2)
                break; // the rest goes the same ways
            std::vector<Outline> &before = calm[harmless(payload.text)];
            if (before.empty())
                for (const Response &page : openWith(harmless(payload.text), keys))
                    before.push_back(outline(page));
            const auto pages = openWith(payload.text, keys);
            for (std::size_t i = 0; i < pages.size(); ++i) {
                compare(before[i], pages[i], pages_[i].query + " " + payload.name);
                EXPECT_FALSE(pages[i].has("not authorized"))
                    << pages_[i].query << " " << payload.name;
            }
        }
    }
}

/// Other messages for other texts, but the same kinds of tags.
TEST_P(HostileText, IsSubmitted) {
    fs::copy(onHost("/etc/config"), onHost("/tmp/kept"), fs::copy_options::recursive);
    std::set<std::string> known;
    for (const Page &page : pages_)
        for (const std::string text : {"1", "harmless", "xx xx~!", "a\n"})
            for (const Response &answer : submitWith(page, text, text == "harmless"))
                for (const std::string &part : outline(answer))
                    known.insert(part);
    for (const Page &page : pages_)
        for (const Payload &payload : payloads)
            for (const Response &answer : submitWith(page, payload.text, &payload == payloads)) {
                const std::string what = page.query + " " + payload.name;
                for (const std::string &part : outline(answer))
                    EXPECT_TRUE(known.contains(part)) << what << ": " << part;
                EXPECT_TRUE(answer.body.ends_with("</html>\n")) << what;
                EXPECT_FALSE(answer.has(planted)) << what;
            }
}

std::vector<std::string> pageIds() {
    std::vector<std::string> ids = navigationLeaves();
    ids.insert(ids.end(), {"index", "welcome", "reboot", "none"});
    return ids;
}

INSTANTIATE_TEST_SUITE_P(Page, HostileText, ::testing::ValuesIn(pageIds()),
                         [](const auto &parameter) { return testName(parameter.param); });

TEST_F(HostileInput, InTheVariablesOfARequest) {
    const struct {
        std::vector<const char *> names;
        const char *start; ///< stands before the text
        const char *method = "GET";
        bool isServed = true; ///< not refused
    } rows[] = {
        {{"HTTP_X_WEBPROXY_VERSION", "HTTP_HOST", "HTTP_USER_AGENT", "HTTP_REFERER", "HTTP_ORIGIN",
          "SCRIPT_NAME", "PATH_INFO", "REMOTE_ADDR", "REMOTE_PORT", "REMOTE_USER", "HTTPS",
          "SERVER_NAME"},
         ""},
        {{"HTTP_X_BASE_URI"}, ""},
        {{"HTTP_X_BASE_URI"}, "/"},
        {{"HTTP_X_BASE_URI"}, "HTTPS://"},
        {{"QUERY_STRING"}, "form=users&type="},
        {{"QUERY_STRING"}, "form=x"},
        {{"HTTP_COOKIE"}, "ZdSessionId=own; x="},
        {{"HTTP_COOKIE"}, "ZdSessionId=", "GET", false},
        {{"CONTENT_TYPE"}, "multipart/form-data; boundary=", "POST"},
        {{"HTTP_ORIGIN", "HTTP_REFERER", "HTTP_HOST"}, "http://", "POST", false},
    };
    std::map<std::string, Outline> calm;
    for (const Payload &payload : payloads)
        for (const auto &row : rows)
            for (const std::string page : {"form=users", "form=sessions"}) {
                const auto ask = [&](const std::string &text) {
                    Environment variables = {{"REQUEST_METHOD", row.method},
                                             {"QUERY_STRING", page},
                                             {"HTTP_COOKIE", login("root", "own")}};
                    for (const char *name : row.names)
                        variables[name] = row.start + text;
                    return request(variables);
                };
                const std::string what =
                    std::string(row.names[0]) + " " + row.start + " " + payload.name + " " + page;
                const std::string text = harmless(payload.text);
                Outline &before = calm[std::to_string(&row - rows) + page + text];
                if (before.empty())
                    before = outline(ask(text));
                const Response answer = ask(payload.text);
                compare(before, answer, what);
                EXPECT_EQ(answer.header.starts_with("HTTP/1.1 200 ") &&
                              answer.has("id=\"related-links\""),
                          row.isServed)
                    << what;
            }
}

} // namespace
} // namespace zandorin::test
