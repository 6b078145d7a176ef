#include "platform/libzandorin/xml_tree.h"
#include "tests/support/page_outline.h"
#include "tests/support/page_reader.h"
#include "util/files.h"

#include <algorithm>
#include <filesystem>
#include <regex>
#include <set>

// Hostile texts wherever a text can come from, on every page. What a browser would act upon must
// be the same as with a harmless text in their place.

namespace zandorin::test {
namespace {

namespace fs = std::filesystem;

struct Payload {
    const char *name;
    std::string text;
};

constexpr const char *all_at_once = "a'\"><zq zq='1' zq=\"2\">&#60;zq>";

const Payload payloads[] = {
    {"ScriptTag", "<script>zq()</script><zq>"},
    {"DoubleQuote", "a\" onfocus=\"zq()\" zq=\"1"},
    {"SingleQuote", "a' onfocus='zq()' zq='1"},
    {"EndOfElement", "</textarea></title></script></select>--><zq>"},
    {"AllAtOnce", all_at_once},
    {"LineEnds", "a\r\nSet-Cookie: zq=1\r\n\r\n<zq>\n<zq zq>"},
    {"Path", "../../../../../../planted"},
    {"Format", "%n%n%s%s%s%s%99999999d%<zq>"},
    {"Long", std::string(70000, 'a') + "\"><zq>"},
    {"Control", "a\x01\x0b\x1b[2J\x7f\"\t<zq>\x02"},
    {"HighBytes", "\x80\xa0\xff\xc0\xbc<zq>\xe2\x80\xa8\"\xfe"},
    {"Entities", "&#60;zq&#62;&lt;zq&gt;&quot; zq=&quot;"},
    {"Link", "javascript:zq()"},
    {"HiddenLink", "&#106;ava\tscript&colon;zq()"},
    {"Marker", "CGI_CALL(ui::getHref,javascript:zq(),<zq>)#ui.build.vendor"},
};

/// A text of the same length and lines that holds nothing to break out with.
std::string harmless(std::string text) {
    for (char &c : text)
        if (std::string_view("<>\"'&:#/\\%()").find(c) != std::string_view::npos)
            c = 'x';
    return text;
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

/// As the text of an XML element; what XML cannot hold is left out.
std::string inXml(const std::string &text) {
    platform::XmlNode node;
    node.kind = platform::XmlNode::Kind::text;
    for (const char c : text)
        if (const auto byte = static_cast<unsigned char>(c); byte >= 0x80) {
            node.value += static_cast<char>(0xc0U | byte >> 6U);
            node.value += static_cast<char>(0x80U | (byte & 0x3fU));
        } else if (byte >= ' ' || c == '\t' || c == '\r' || c == '\n') {
            node.value += c;
        }
    platform::XmlDocument document;
    document.root.value = "x";
    document.root.children = {node};
    const std::string file = platform::renderXml(document);
    const auto start = file.find("<x>") + 3;
    return file.substr(start, file.rfind("</x>") - start);
}

constexpr const char *config = "/etc/config/config.xml";
constexpr const char *mark = "MARK";
constexpr const char *planted = "contents of a file that nobody asked for";

/// Pages that no link leads to.
const char *const unlinked[] = {
    "form=index",
    "form=welcome",
    "form=reboot",
    "form=no-such-page",
    "form=users&action=add&type=user&index=2",
    "form=users&action=add&type=group&index=8",
    "form=users&action=delete&type=user&index=1&opened=ann",
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
        const Fields stored = {
            {"config.ui.debug", "on"},
            {"config.auth.pmshell.available", "on"},
            {"config.system.model", "HX9008"},
            {"config.system.sms.method", "cellular"},
            {"config.ports.port2.device.type", "ups"},
            {"config.ports.port3.device.type", "enviro"},
            {"config.ports.port4.device.type", "rpc"},
            {"config.power.outlets.outlet1.label", "Rack"},
            {"config.groups.group7.name", "ops"},
            {"config.groups.group7.roles.role1", "status"},
            {"config.groups.group7.roles.total", "1"},
            {"config.groups.total", "7"},
            {"config.users.user1.groups.total", "1"},
            {"config.autoresponse.total", "1"},
            {"config.autoresponse.autoresponse1.name", "rule"},
            {"config.autoresponse.autoresponse1.check_type", "sms"},
            {"config.autoresponse.autoresponse1.resolve_actions.total", "1"},
            {"config.autoresponse.autoresponse1.resolve_actions.action1.type", "custom"},
            {"config.autoresponse.autoresponse1.trigger_actions.total", "1"},
            {"config.autoresponse.autoresponse1.trigger_actions.action1.type", "email"},
        };
        addUser("ann", {"admin"});
        for (const auto &[key, value] : stored)
            configure(key, value);
        putFiles("text");
        // Ends at once: what a real one asks stands in its own tests.
        fs::remove(onHost("/bin/pam-client"));
        putProgram("/bin/pam-client", "exit 1\n");
    }

    void putProgram(const std::string &path, const std::string &script) const {
        put(path, "#!/bin/sh\n" + script);
        fs::permissions(onHost(path), fs::perms::owner_all);
    }

    /// Every file whose text a page shows, with that text in it.
    void putFiles(const std::string &text) const {
        const std::string line = replaced(text, "\n", " ");
        put("/var/log/messages", "a line " + text + "\n" + text + "\n");
        put("/etc/version", text + "\n");
        put("/etc/config/motd", text);
        put("/var/run/snmpd/snmpd.conf", "oldEngineID " + text + "\n");
        put("/var/run/snmpd/snmpapp.conf", "oldEngineID " + text + "\n");
        put("/var/run/autoresponse.status",
            "1\t" + line + "\t" + line + "\t" + line + "\t" + line + "\n");
        put("/etc/config/users/ann/.ssh/authorized_keys", text + "\n");
        fs::remove(onHost("/proc/uptime"));
        put("/proc/uptime", text);
        put("/lldp", "lldp.eth0.chassis.name=" + text + "\nlldp." + text + ".port.descr=" + text +
                         "\nlldp.eth0." + text + "=b\nlocal-chassis.chassis.name=" + text + "\n");
        putProgram("/sbin/lldpcli", "grep -a ^l \"$ZANDORIN_ROOT/lldp\"\n");
    }

    /// The pages of the navigation, what their links lead to (one of those that differ in a number
    /// only), and those that no link leads to.
    std::vector<std::string> pages() {
        std::vector<std::string> found(std::begin(unlinked), std::end(unlinked));
        for (const std::string &leaf : navigationLeaves())
            found.push_back("form=" + leaf);
        static const std::regex link("href=\"\\?(form=[^\"]*)\"");
        static const std::regex number("[0-9]+");
        std::set<std::string> kinds(found.begin(), found.end());
        for (std::size_t i = 0; i < found.size(); ++i) {
            const std::string body = open(found[i]).body;
            for (std::sregex_iterator match(body.begin(), body.end(), link), end; match != end;
                 ++match) {
                const std::string query = replaced((*match)[1], "&amp;", "&");
                if (kinds.insert(std::regex_replace(query, number, "1")).second)
                    found.push_back(query);
            }
        }
        return found;
    }

    Response open(const std::string &query, const std::string &user = "root") {
        return get(query, login(user, "own"));
    }

    /// Opens every page before `change` and after it; nothing live may come or go.
    void expectSame(const std::vector<std::string> &queries, const std::string &user,
                    const std::string &otherUser, const std::function<void()> &change) {
        std::vector<std::vector<std::string>> before;
        before.reserve(queries.size());
        for (const std::string &query : queries)
            before.push_back(outline(open(query, user)));
        change();
        for (std::size_t i = 0; i < queries.size(); ++i)
            compare(before[i], open(queries[i], otherUser), queries[i]);
    }

    static void compare(const std::vector<std::string> &before, const Response &page,
                        const std::string &what) {
        const std::vector<std::string> after = outline(page);
        const auto [was, is] =
            std::mismatch(before.begin(), before.end(), after.begin(), after.end());
        EXPECT_TRUE(was == before.end() && is == after.end())
            << what << ": instead of " << (was == before.end() ? "the end" : *was) << "\nthere is "
            << (is == after.end() ? "the end" : *is);
        EXPECT_FALSE(page.has(planted)) << what;
    }
    static void expectWhole(const Response &page, const std::string &what) {
        EXPECT_TRUE(page.body.ends_with("</html>\n")) << what;
        EXPECT_FALSE(page.has(planted)) << what;
    }
};

class HostileText : public HostileInput, public ::testing::WithParamInterface<Payload> {
  protected:
    const std::string &text_ = GetParam().text;
    const std::string calm_ = harmless(text_);
};

TEST_P(HostileText, InTheConfiguration) {
    // The harmless text would be the name of a configurator, the hostile one is none.
    const auto noNames = [](const std::string &text) {
        return "?" + replaced(text, "\n", "\n?") + "\n";
    };
    // Every key of the document and of every input.
    std::set<std::string> keys;
    const std::string document =
        readFile(ZANDORIN_SOURCE_DIR "/docs/configuration.md").value_or("");
    static const std::regex row("\\n\\| `(config\\.[^`]+)`");
    static const std::regex placeHolder("<[a-z]+>");
    static const std::regex noName("\\.([0-9]|$)");
    for (std::sregex_iterator match(document.begin(), document.end(), row), end; match != end;
         ++match)
        keys.insert(std::regex_replace(
            replaced(replaced((*match)[1], "<port>", "port1"), "<interface>", "wan"), placeHolder,
            "1"));
    const std::vector<std::string> queries = pages();
    for (const std::string &query : queries)
        for (const PageField &field : readFields(open(query).body))
            if (field.name.starts_with("config.") && !field.name.ends_with(".delete"))
                keys.insert(field.name);
    EXPECT_GT(keys.size(), 200U);

    for (const bool withTypes : {false, true}) {
        for (const std::string &key : keys) {
            const bool isStored = !std::regex_search(key, noName);
            const bool decides = key.ends_with(".total") || key == "config.delayed" ||
                                 key.starts_with("config.ui.") || key == "config.system.password" ||
                                 key.starts_with("config.users.user1.groups.") ||
                                 (!withTypes && key.ends_with("type"));
            if (isStored && !decides)
                configure(key, mark);
        }
        const std::string marked = read(config);
        const auto fill = [&](const std::string &text) {
            put(config, replaced(marked, mark, inXml(text)));
        };
        fill(calm_);
        expectSame(queries, "root", "root", [&] { fill(text_); });
        fill(calm_);
        expectSame({"form=manage", "form=users", "form=sessions"}, calm_, text_,
                   [&] { fill(text_); });
        // Collected changes are listed with what they were and will be.
        put("/etc/config/delayed/config.xml", replaced(read(config), "rule", "other"));
        put("/etc/config/delayed/configurators", noNames(calm_));
        configure("config.delayed", "on");
        expectSame({"form=commit"}, "root", "root",
                   [&] { put("/etc/config/delayed/configurators", noNames(text_)); });
        fs::remove_all(onHost("/etc/config/delayed"));
        put(config, marked);
    }
}

TEST_P(HostileText, InFilesAndWhatPeersSay) {
    const std::vector<std::string> queries = pages();
    const auto fill = [&](const std::string &text) {
        putFiles(text);
        const std::string accounts = "root:x:0:0::/root:/bin/sh\n";
        const std::string field = replaced(replaced(text, "\n", " "), ":", " ");
        put("/etc/config/passwd", accounts + "ann:x:1000:1000:" + field + ":/:/bin/sh\n");
        // Others that are logged in.
        login(text, "another");
        const std::string session = "/var/run/.sessions/session-another";
        put(session, replaced(read(session), "192.0.2.1", text));
    };
    fill(calm_);
    expectSame(queries, "root", "root", [&] { fill(text_); });
}

TEST_P(HostileText, InTheVariablesOfARequest) {
    for (const char *variable :
         {"HTTP_X_BASE_URI", "HTTP_X_WEBPROXY_VERSION", "HTTP_HOST", "HTTP_USER_AGENT",
          "HTTP_REFERER", "SCRIPT_NAME", "PATH_INFO", "REMOTE_ADDR", "REMOTE_PORT", "REMOTE_USER",
          "HTTPS", "SERVER_NAME", "QUERY_STRING", "HTTP_COOKIE", "CONTENT_TYPE"})
        for (const char *page : {"form=users", "form=dashboardsummary", "form=sessions"}) {
            const auto ask = [&](const std::string &text) {
                Environment variables = {{"REQUEST_METHOD", "GET"},
                                         {"QUERY_STRING", page},
                                         {"HTTP_COOKIE", login("root", "own")}};
                variables[variable] = text.substr(0, text.find('\0'));
                return request(variables);
            };
            compare(outline(ask(calm_)), ask(text_), variable);
        }
}

/// What the program says when texts are posted: other messages for other texts, but the same kinds
/// of tags.
class HostileSubmission : public HostileInput {
  protected:
    HostileSubmission() {
        fs::copy(onHost("/etc/config"), onHost("/tmp/kept"), fs::copy_options::recursive);
    }

    struct Page {
        std::string query;
        Fields fields; ///< as they are shown, each name once
        Fields buttons = {};
    };
    std::vector<Page> readPages() {
        static const std::regex button("<input[^>]*type=\"submit\"[^>]*>");
        static const std::regex name("name=\"([^\"]*)\"");
        std::vector<Page> found;
        for (const std::string &query : pages()) {
            const std::string body = open(query).body;
            Page page{.query = query, .fields = {}};
            std::set<std::string> names;
            for (const PageField &field : readFields(body))
                if (names.insert(field.name).second)
                    page.fields.emplace_back(field.name, field.value);
            std::smatch match;
            for (std::sregex_iterator tag(body.begin(), body.end(), button), end; tag != end;
                 ++tag) {
                const std::string text = tag->str();
                if (std::regex_search(text, match, name) && names.insert(match[1]).second)
                    page.buttons.emplace_back(match[1], "on");
            }
            if (!page.fields.empty())
                found.push_back(std::move(page));
        }
        return found;
    }

    Response submit(Fields fields, const std::string &query) {
        fs::remove_all(onHost("/etc/config"));
        fs::rename(onHost("/tmp/kept"), onHost("/etc/config"));
        fs::copy(onHost("/etc/config"), onHost("/tmp/kept"), fs::copy_options::recursive);
        for (const std::string word : {"form", "action", "type", "index"}) {
            std::smatch match;
            const bool sent = std::any_of(fields.begin(), fields.end(),
                                          [&](const auto &field) { return field.first == word; });
            if (!sent && std::regex_search(query, match, std::regex(word + "=([^&]*)")))
                fields.emplace_back(word, match[1]);
        }
        return post(fields, login("root", "own"));
    }

    /// The page with the text in each input, once for each of its buttons; what the hidden inputs
    /// of a page choose stays.
    std::vector<Response> submitAll(const Page &page, const std::string &text) {
        Fields fields;
        for (const auto &[name, value] : page.fields)
            fields.emplace_back(name, name.find('.') == std::string::npos ? value : text);
        for (const char *plain : {"username", "password", "response"})
            fields.emplace_back(plain, text);
        std::vector<Response> answers;
        for (const auto &button : page.buttons) {
            Fields sent = fields;
            sent.push_back(button);
            answers.push_back(submit(sent, page.query));
            answers.push_back(open(page.query));
        }
        return answers;
    }

    void learn(const std::vector<Response> &answers) {
        for (const Response &answer : answers)
            for (const std::string &part : outline(answer))
                known_.insert(part);
    }
    void expectKnown(const Response &answer, const std::string &what) {
        for (const std::string &part : outline(answer))
            EXPECT_TRUE(known_.contains(part)) << what << ": " << part;
        expectWhole(answer, what);
    }

    std::set<std::string> known_;
};

TEST_F(HostileSubmission, OfWholePagesAndOfEachField) {
    const std::vector<Page> found = readPages();
    std::size_t fields = 0;
    for (const Page &page : found) {
        for (const char *text : {"1", "harmless", "xx xx~!", "/xx/x", "a\n"})
            learn(submitAll(page, text));
        for (const auto &[name, value] : page.fields) {
            Fields sent = page.fields;
            for (auto &field : sent)
                if (field.first == name)
                    field.second = "harmless~!";
            sent.emplace_back("apply", "on");
            learn({submit(sent, page.query)});
        }
    }
    for (const Page &page : found) {
        for (const Payload &payload : payloads)
            for (const Response &answer : submitAll(page, payload.text))
                expectKnown(answer, page.query + " " + payload.name);
        for (const auto &[name, value] : page.fields) {
            Fields sent = page.fields;
            for (auto &field : sent)
                if (field.first == name)
                    field.second = all_at_once;
            sent.emplace_back("apply", "on");
            expectKnown(submit(sent, page.query), page.query + " " + name);
            ++fields;
        }
    }
    EXPECT_GT(found.size(), 20U);
    EXPECT_GT(fields, 300U);
}

INSTANTIATE_TEST_SUITE_P(Of, HostileText, ::testing::ValuesIn(payloads),
                         [](const auto &parameter) { return parameter.param.name; });

} // namespace
} // namespace zandorin::test
