#include "tests/support/request_test.h"

#include "util/strings.h"

#include <fstream>

namespace zandorin::test {
namespace {

/// A page "example" of templates, its head and tail reduced to marks around what it shows.
class Templates : public RequestTest {
  protected:
    Templates() {
        addPage("example", "", "");
        put("/home/httpd/forms/head.html", "{{");
        put("/home/httpd/forms/tail.html", "}}");
    }

    std::string show(std::string_view def, std::string_view frm, Fields fields = {}) {
        put("/home/httpd/forms/example.def", def);
        put("/home/httpd/forms/example.frm", frm);
        const Response response =
            fields.empty() ? get("form=example") : post(fields + Fields{{"form", "example"}});
        const std::string shown = response.part("{{", "}}\t</body>");
        return shown.size() < 12 ? response.body : shown.substr(2, shown.size() - 12);
    }

    /// What a function yields, between brackets.
    std::string call(const std::string &function, std::string_view def = "") {
        return show(def, "[CGI_CALL(ui::" + function + ")]");
    }
};

/// "key = value" lines.
Fields fieldsOf(const std::string &text) {
    Fields fields;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const auto equals = line.find('=');
        fields.emplace_back(trim(line.substr(0, equals)), trim(line.substr(equals + 1)));
    }
    return fields;
}

TEST_F(Templates, EveryExampleOfTheDocument) {
    std::ifstream document(ZANDORIN_SOURCE_DIR "/docs/templates.md");
    ASSERT_TRUE(document);
    std::map<std::string, std::string> blocks;
    int examples = 0;
    int number = 0;
    for (std::string line; std::getline(document, line);) {
        ++number;
        if (!line.starts_with("```"))
            continue;
        const std::string kind = line.substr(3);
        std::string text;
        for (; std::getline(document, line) && line != "```"; ++number)
            text += line + "\n";
        ++number;
        if (kind == "config") {
            configure(fieldsOf(text));
            blocks["before"] = read(config_file);
        } else if (kind.starts_with('/')) {
            put(kind, text);
        } else if (kind == "html") {
            put(config_file, blocks["before"]);
            EXPECT_EQ(trim(show(blocks["def"], blocks["frm"], fieldsOf(blocks["post"]))),
                      trim(text))
                << "templates.md, the example that ends at line " << number;
            blocks["post"].clear();
            ++examples;
        } else {
            blocks[kind] = text;
        }
    }
    EXPECT_GT(examples, 4);
}

TEST_F(Templates, WhatIsWrongIsToldAndYieldsNothing) {
    configure("config.ui.syslog.filepattern", "(");
    const std::pair<const char *, const char *> rows[] = {
        {"getElemLabel", "getElemValue() takes 1 param"},
        {"getTextInput,a,1,c", "getTextInput() takes between 1 and 2 params"},
        {"getHref,a", "href() takes 2 params"},
        {"getFile,/none<,x", "Failed to open file: /none&lt;"},
        {"getFile,/etc/version", "Invalid regular expression: &#x28;"},
        {"getElemLabel,config.x<", "getElemLabel() no such element: config.x&lt;"},
    };
    expectLog("No such label for 'config.x<'");
    expectLog("getElemValue() takes '0' parameter");
    for (const auto &[function, error] : rows)
        EXPECT_EQ(call(function), "[]<div style=\"word-break:break-all\"><html><body "
                                  "bgcolor=\"#FFFFFF\"><p class=\"error-message\"><font "
                                  "color=\"#E20303\"><b>Error</b></font> " +
                                      std::string(error) + "</p></body></html></div>");
    EXPECT_NE(call("getUnsafeTextInput,config.x,0,on").find("<b><i>(Currently empty)</i></b>"),
              std::string::npos);
}

TEST_F(Templates, Functions) {
    configure(formData("config.e.text=<b>&config.e.secret=hush&config.system.password=$6$hash&"
                       "config.auth.pmshell.available=on"));
    put("/etc/config/motd", "Keep <out>\n");
    put("/var/run/snmpd/snmpd.conf", "x\noldEngineID 0x80<00\noldEngineID 1\n");
    put("/lines", "one & 1\ntwo\nlast/line");
    const std::string def = "CGI_CALL(ui::addElement,config.e.text,Text)"
                            "CGI_CALL(ui::addElement,config.e.secret,Secret,password)"
                            "CGI_CALL(ui::addElement,config.auth.pmshell.enabled,<i>L</i>,boolean)";
    const std::string stars = "&#x2a;&#x2a;&#x2a;&#x2a;&#x2a;&#x2a;&#x2a;&#x2a;";
    const std::pair<const char *, std::string> rows[] = {
        {"getElemValue,config.e.secret", stars},
        {"getTextInput,config.e.none,99999999999999999999",
         R"(<input type="text" class="formfield" name="config.e.none"  size="25">)"},
        {"getTextAreaInput,config.system.password,2,9",
         "<textarea name=\"config.system.password\" rows=\"2\" cols=\"9\">" + stars +
             "</textarea>"},
        {"getRadioInputLabels,config.e.none,a,b,A",
         R"(<input type="radio" name="config.e.none" value="a">A<br/>)"
         R"(<input type="radio" name="config.e.none" value="b">b<br/>)"},
        {"getFile,/lines,^one|last$", "<pre>\none &amp; 1\n</pre>\n"},
        {"getMotd", "Keep &lt;out&gt;&#x0a;"},
        {"getSnmpEngineIdLabel,config.services.snmp.engineid", "<b>0x80&lt;00</b><br/>"},
        {"getSnmpEngineIdLabel,config.other", ""},
    };
    for (const auto &[function, expected] : rows)
        EXPECT_EQ(call(function, def), "[" + expected + "]") << function;
    EXPECT_NE(call("getPmshellPamElements", def).find("<i>L</i>"), std::string::npos);
}

TEST_F(Templates, Navigation) {
    put("/home/httpd/nav.xml",
        "<tree><allow><role>admin</role></allow>"
        "<branch label='A &amp; B'><leaf id='example' label='One &lt;' shortcut='Late' "
        "shortcut_precedence='2'/><leaf id='veiled' label='V' hidden='' shortcut='Early'/></branch>"
        "<branch label='Empty'><leaf id='c' label='C' hidden=''/></branch></tree>");
    configure(formData("config.ui.nav.hidden.entry1=x&config.ui.nav.hidden.total=1"));
    const std::string panel =
        R"_(  <script type="text/javascript" src="/scripts/nav.js"></script>
  <div id="related-links">
    <h4 class="sub-title" onclick="navToggle(0)"><img class="sub-title" id="icon0" )_"
        R"_(src="/pixmaps/icon-collapse.png" loading="lazy" alt="">A &amp; B</h4>
    <div class="branch" id="branch0">
      <div id="related"><img src="/pixmaps/icon-nav-default.png" loading="lazy" alt="">)_"
        R"_(<a href="?form=example">One &lt;</a></div>
    </div>
  <script type="text/javascript">navInit(1, 2);</script>
  </div>
)_";
    EXPECT_EQ(call("getNavPanel"), "[" + panel + "]");
    put("/home/httpd/pixmaps/icon-nav-example.png", "");
    EXPECT_NE(call("getNavPanel").find("icon-nav-example.png"), std::string::npos);
    EXPECT_EQ(
        call("getShortcuts"),
        R"([<td class="top-button"><a href="?form=veiled"><img src="/pixmaps/icon-veiled.png">)"
        R"(<br/>Early</a></td><td class="top-button"><a href="?form=example">)"
        R"(<img src="/pixmaps/icon-example.png"><br/>Late</a></td>])");
}

TEST_F(Templates, SystemFiles) {
    const std::tuple<const char *, const char *, const char *> rows[] = {
        {"273906.9 1.0\n", "getUptime", "[3 days, 4 hours, 5 mins, 6 secs]"},
        {" 59.9 1\n", "getUptime", "[0 days, 0 hours, 0 mins, 59 secs]"},
        {"0.52 0.31\n", "getUptime", "[0 days, 0 hours, 0 mins, 0 secs]"},
        {"0.00 0.00\n", "getUptime", "[Unavailable]"},
        {".6e2", "getUptime", "[0 days, 0 hours, 1 mins, 0 secs]"},
        {"up", "getUptime", "[/proc/uptime malformed]"},
        {"A/B V ", "getFirmwareVersion", "[Unknown]"},
        {"A/B V 1.2 x\n", "getModel", "[B ]"},
        {"A B/C\n", "getModel", "[Unknown]"},
        {"", "getModel", "[Unknown]"},
    };
    for (const auto &[contents, function, expected] : rows) {
        put(function == std::string("getUptime") ? "/proc/uptime" : "/etc/version", contents);
        EXPECT_EQ(call(function), expected) << contents;
    }
}

TEST_F(Templates, PatternsThatWouldTakeForeverAreRefused) {
    put("/log", std::string(200, 'a') + "\n");
    const auto isTaken = [&](const char *pattern) {
        const std::string shown =
            show("", "CGI_CALL(ui::getFile,/log)", {{"config.ui.syslog.filepattern", pattern}});
        EXPECT_NE(shown.find("</pre>") == std::string::npos,
                  shown.find(" regular expression: ") == std::string::npos);
        return shown.find("</pre>") != std::string::npos;
    };
    for (const char *pattern : {"^a{200}$", "(a{1,3}\\.){1,3}|a", "([[:alpha:]]+[(+{9}])*|a+"})
        EXPECT_TRUE(isTaken(pattern)) << pattern;
    for (const char *pattern :
         {"a{2000000000000000000000}", "((a{1,255}){1,255}){1,100}", "(a{1,32767}){1,32767}",
          "a{301}", "(a[])]+){151}", "b??{1,9}+*+", "((((b?)?){1,9})+)+",
          "((((((((a+)+)+)+)+)+)+)+)+", "(.*)(.*)(.*)(.*)\\1\\2\\3\\4x", "a\\"})
        EXPECT_FALSE(isTaken(pattern)) << pattern;
}

TEST_F(Templates, TheSystemLogIsFilteredByAPatternThatIsKept) {
    constexpr const char *key = "config.ui.syslog.filepattern";
    put("/var/log/messages", "a daemon <1>\na kernel\n");
    const auto lines = [&] { return get("form=systemlog").part("<pre>", "</pre>"); };
    const auto send = [&](const std::string &field, const char *text) {
        return post({{"form", "systemlog"}, {"apply", "Apply"}, {field, text}});
    };
    EXPECT_EQ(lines(), "<pre>\na daemon &lt;1&gt;\na kernel\n</pre>");
    EXPECT_EQ(send(key, "k[e]r|x").part("<pre>", "</pre>"), "<pre>\na kernel\n</pre>");
    // Submitted without a new one it stays; the box removes it.
    send(key, "");
    EXPECT_EQ(lines(), "<pre>\na kernel\n</pre>");
    // With a new one the box has no say.
    EXPECT_EQ(post({{"form", "systemlog"},
                    {"apply", "Apply"},
                    {std::string(key) + ".delete", "on"},
                    {key, "<1>"}})
                  .part("<pre>", "</pre>"),
              "<pre>\na daemon &lt;1&gt;\n</pre>");
    EXPECT_EQ(stored(key), "<1>");
    send(std::string(key) + ".delete", "on");
    EXPECT_NE(lines().find("kernel"), std::string::npos);
    EXPECT_EQ(stored(key), "");
}

} // namespace
} // namespace zandorin::test
