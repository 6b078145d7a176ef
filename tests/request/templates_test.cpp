#include "tests/support/request_test.h"

#include "util/strings.h"

#include <fstream>
#include <sstream>

namespace zandorin::test {
namespace {

constexpr const char *config = "/etc/config/config.xml";

/// A page "example" of templates, its head and tail reduced to marks around what it shows.
class Templates : public RequestTest {
  protected:
    Templates() : cookie_(login()) {
        addPage("example", "", "");
        put("/home/httpd/forms/head.html", "{{");
        put("/home/httpd/forms/tail.html", "}}");
    }

    std::string show(std::string_view def, std::string_view frm, Fields fields = {}) {
        put("/home/httpd/forms/example.def", def);
        put("/home/httpd/forms/example.frm", frm);
        const Response response = fields.empty()
                                      ? get("form=example", cookie_)
                                      : post(fields + Fields{{"form", "example"}}, cookie_);
        const std::string shown = response.part("{{", "}}\t</body>");
        return shown.size() < 12 ? response.body : shown.substr(2, shown.size() - 12);
    }

    /// What a function yields, between brackets.
    std::string call(const std::string &function, std::string_view def = "") {
        return show(def, "[CGI_CALL(ui::" + function + ")]");
    }

    static std::string errorBox(const std::string &message) {
        return "<div style=\"word-break:break-all\"><html><body bgcolor=\"#FFFFFF\"><p "
               "class=\"error-message\"><font color=\"#E20303\"><b>Error</b></font> " +
               message + "</p></body></html></div>";
    }

    std::string cookie_;
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
            blocks["before"] = read(config);
        } else if (kind.starts_with('/')) {
            put(kind, text);
        } else if (kind == "html") {
            put(config, blocks["before"]);
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

TEST_F(Templates, WrongNumbersOfArgumentsAreToldAndYieldNothing) {
    const std::pair<const char *, const char *> rows[] = {
        {"addElement,a", "addElement() takes 2 - 5 params, got: 1"},
        {"addElement,a,b,c,save,delete,g", "addElement() takes 2 - 5 params, got: 6"},
        {"getElemLabel", "getElemValue() takes 1 param"},
        {"getTextInput,a,1,c", "getTextInput() takes between 1 and 2 params"},
        {"getUnsafeTextInput", "getUnsafeTextInput() takes between 1 and 3 params"},
        {"getTextAreaInput,a,1,2,3", "getTextAreaInput() takes between 1 and 3 params"},
        {"getUnsafeTextAreaInput", "getUnsafeTextAreaInput() takes between 1 and 3 params"},
        {"getPassInput,a,1,2", "getPassValue() takes between 1 and 2 params"},
        {"getConfirmInput,a", "getConfirmInput() takes between 2 and 3 params"},
        {"getCheckInput", "getCheckInput() takes 1 param"},
        {"getMenuInput", "getMenuInput() takes at least 1 param"},
        {"getRadioInput", "getRadioInput() takes at least 1 param"},
        {"getRadioInputLabels", "getRadioInput() takes at least 1 param"},
        {"getEnvValue", "getEnvValue() takes 1 param."},
        {"getEnvValue,a,b", "getEnvValue() takes 1 param."},
        {"getFileInput", "getFileInput() takes at least 1 param"},
        {"getFile,a,b,c", "getFile() takes 1 to 2 params"},
        {"getHref,a", "href() takes 2 params"},
        {"getPicture,a,b", "picture() takes 3 params"},
        {"getSnmpEngineIdLabel", "getSnmpEngineIdLabel() takes 1 param"},
    };
    expectLog("getElemValue() takes '0' parameter");
    for (const auto &[function, error] : rows)
        EXPECT_EQ(call(function), "[]" + errorBox(error)) << function;
    EXPECT_EQ(show("", "CGI_CALL(ui::getElemValue,a,b)"),
              "params: 2<br>\n" + errorBox("getElemValue() takes 1 param"));
}

TEST_F(Templates, Functions) {
    configure(formData("config.e.text=<b>&config.e.secret=hush&config.system.password=$6$hash&"
                       "config.e.on=on&config.auth.pmshell.available=on&"
                       "config.system.snmp.engineid2=0x80"));
    put("/etc/config/motd", "Keep <out>\n");
    put("/etc/config/FIPS", "");
    put("/var/run/snmpd/snmpd.conf", "x\noldEngineID 0x80<00\noldEngineID 1\n");
    put("/var/run/snmpd/snmpapp.conf", "setup\noldEngineID 0x81\n");
    put("/lines", "one & 1\ntwo\nlast/line");
    const std::string def = "CGI_CALL(ui::addElement,config.e.text,Text)"
                            "CGI_CALL(ui::addElement,config.e.secret,Secret,password)"
                            "CGI_CALL(ui::addElement,config.auth.pmshell.enabled,<i>L</i>,boolean)";
    const std::string stars = "&#x2a;&#x2a;&#x2a;&#x2a;&#x2a;&#x2a;&#x2a;&#x2a;";
    const std::string text = "<input type=\"text\" class=\"formfield\" name=\"config.e.";
    const std::pair<const char *, std::string> rows[] = {
        {"getHref,?a=1&amp;b=2,<b>x</b> &amp; y", "<a href=\"?a=1&amp;b=2\"><b>x</b> &amp; y</a>"},
        {"getPicture,?form=x,icon-x,Title",
         "<a href=\"?form=x\"><img src=\"/pixmaps/icon-x.png\" title=\"Title\" border=\"0\"/></a>"},
        {"getElemValue, config.e.text ", "&lt;b&gt;"},
        {"getElemValue,config.e.secret", stars},
        {"getElemLabel,config.auth.pmshell.enabled", "<i>L</i>"},
        {"getTextInput,config.e.text,abc", text + "text\" value=\"&lt;b&gt;\"  size=\"25\">"},
        {"getTextInput,config.e.none,-5", text + "none\"  size=\"25\">"},
        {"getTextInput,config.e.none,99999999999999999999", text + "none\"  size=\"25\">"},
        {"getTextInput,config.e.none,7", text + "none\"  size=\"25\" maxlength=\"7\">"},
        {"getTextInput,config.e.secret", text + "secret\" value=\"" + stars + "\"  size=\"25\">"},
        {"getTextAreaInput,config.system.password,2,9",
         "<textarea name=\"config.system.password\" rows=\"2\" cols=\"9\">" + stars +
             "</textarea>"},
        {"getCheckInput,config.e.on,more",
         "<input type=\"checkbox\" name=\"config.e.on\" value=\"on\" checked>"},
        {"getRadioInput,config.e.none,a",
         "<input type=\"radio\" name=\"config.e.none\" value=\"a\">a<br/>"},
        {"getRadioInput,config.e.none", ""},
        {"getRadioInputLabels,config.e.none,a,b,A",
         "<input type=\"radio\" name=\"config.e.none\" value=\"a\">A<br/>"
         "<input type=\"radio\" name=\"config.e.none\" value=\"b\">b<br/>"},
        {"getEnvValue,form", "example"},
        {"getEnvValue,", ""},
        {"getFileInput, upload ",
         "<input type=\"file\" name=\"upload\" size=\"25\" class=\"formfield\">"},
        {"getFile,/lines,^one|last$", "<pre>\none &amp; 1\n</pre>\n"},
        {"getFile,/lines,", "<pre>\none &amp; 1\ntwo\nlast&#x2F;line\n</pre>\n"},
        {"getSystemPassword", "********"},
        {"getFipsMode", ""},
        {"getFipsModeChecked", "checked"},
        {"getMotd", "Keep &lt;out&gt;&#x0a;"},
        {"getProxyInfo", ""},
        {"getPmshellPamElements",
         "<tr><td colspan=\"2\" class=\"spacer\">&nbsp;</td><tr><tr><td colspan=\"2\" class "
         "=\"sub-title\"valign=\"top\">Additional Port Authentication</td></tr><tr><td "
         "width=\"22%\" valign=\"top\" class=\"field-label\"><i>L</i></td><td width=\"78%\" "
         "class=\"field-input\"><input type=\"checkbox\" name=\"config.auth.pmshell.enabled\" "
         "value=\"on\"><br>Enables extra login prompt for users connecting to serial "
         "consoles.</td></tr>"},
        {"getSnmpEngineIdLabel,config.services.snmp.engineid", "<b>0x80&lt;00</b><br/>"},
        {"getSnmpEngineIdLabel,config.system.snmp.engineid", "<b>0x81</b><br/>"},
        {"getSnmpEngineIdLabel,config.system.snmp.engineid2", ""},
        {"getSnmpEngineIdLabel,config.other", ""},
    };
    for (const auto &[function, expected] : rows)
        EXPECT_EQ(call(function, def), "[" + expected + "]") << function;
}

TEST_F(Templates, WhatIsMissingIsTold) {
    configure("config.ui.syslog.filepattern", "(");
    const std::string table = "<table border=\"0\" cellpadding=\"0\" cellspacing=\"0\"";
    const std::string current =
        "<tr><td><div id=\"config.x.current\" title=\"\"><b><i>(Currently empty)</i></b></div>"
        "</td></tr><tr><td><input type=\"checkbox\" name=\"config.x.delete\" value=\"on\">Clear "
        "this field.</td></tr><tr><td>";
    const std::tuple<const char *, std::string, const char *> rows[] = {
        {"getFile,/none<,x", "", "Failed to open file: /none&lt;"},
        {"getFile,/etc/version", "", "Invalid regular expression: &#x28;"},
        {"getElemLabel,config.x<", "", "getElemLabel() no such element: config.x&lt;"},
        {"getUnsafeTextInput,config.x,0,on",
         table + ">" + current +
             "<input type=\"text\" class=\"formfield\" name=\"config.x\"  "
             "size=\"25\"></td></tr></table>",
         "Invalid argument for getUnsafeTextInput() checkbox: on"},
        {"getUnsafeTextAreaInput,config.x,0,on",
         table + " width=\"100%%\">" + current +
             "<textarea name=\"config.x\"></textarea></td></tr></table>",
         "Invalid argument for getUnsafeTextInput() checkbox: on"},
    };
    expectLog("No such label for 'config.x<'");
    for (const auto &[function, shown, error] : rows)
        EXPECT_EQ(call(function), "[" + shown + "]" + errorBox(error)) << function;
}

TEST_F(Templates, SystemFiles) {
    const std::tuple<const char *, const char *, const char *> rows[] = {
        {"273906.9 1.0\n", "getUptime", "[3 days, 4 hours, 5 mins, 6 secs]"},
        {"59.9", "getUptime", "[0 days, 0 hours, 0 mins, 59 secs]"},
        {"0.0", "getUptime", "[Unavailable]"},
        {"up", "getUptime", "[/proc/uptime malformed]"},
        {"A/B V 1.2 x\n", "getFirmwareVersion", "[1.2]"},
        {"A/B V 1.2\n", "getFirmwareVersion", "[Unknown]"},
        {"A/B V ", "getFirmwareVersion", "[Unknown]"},
        {"A/B V 1.2 x\n", "getModel", "[B ]"},
        {"A B/C\n", "getModel", "[Unknown]"},
        {"A V\n", "getModel", "[A ]"},
        {"A/B\n", "getModel", "[B]"},
        {"", "getModel", "[Unknown]"},
    };
    for (const auto &[contents, function, expected] : rows) {
        put(function == std::string("getUptime") ? "/proc/uptime" : "/etc/version", contents);
        EXPECT_EQ(call(function), expected) << contents;
    }
    for (const char *path : {"/proc/uptime", "/etc/version", "/etc/config/motd"})
        remove(path);
    EXPECT_EQ(show("", "CGI_CALL(ui::getUptime),CGI_CALL(ui::getModel),"
                       "CGI_CALL(ui::getFirmwareVersion),CGI_CALL(ui::getMotd)"),
              "Unavailable,Unknown,Unknown,");
}

TEST_F(Templates, PatternsThatWouldTakeForeverAreRefused) {
    put("/log", std::string(200, 'a') + "\n");
    const std::pair<const char *, bool> rows[] = {
        {"^a{200}$", true},
        {"(a{1,3}\\.){1,3}|a", true},
        {"a{2000000000000000000000}", false},
        {"((a{1,255}){1,255}){1,100}", false},
        {"(a{1,32767}){1,32767}", false},
        {"(.*)(.*)(.*)(.*)\\1\\2\\3\\4x", false},
        {"a\\", false},
    };
    for (const auto &[pattern, taken] : rows) {
        const std::string shown =
            show("", "CGI_CALL(ui::getFile,/log)", {{"config.ui.syslog.filepattern", pattern}});
        EXPECT_EQ(shown.find("</pre>") != std::string::npos, taken) << pattern;
        EXPECT_NE(shown.find("Invalid regular expression: ") != std::string::npos, taken)
            << pattern;
    }
}

/// The real page of the system log.
class SystemLog : public RequestTest {};

TEST_F(SystemLog, IsFilteredByAPatternThatIsKept) {
    constexpr const char *key = "config.ui.syslog.filepattern";
    const std::string cookie = login();
    put("/var/log/messages", "a daemon <1>\na kernel\n");
    const auto lines = [](const Response &response) { return response.part("<pre>", "</pre>"); };
    EXPECT_EQ(lines(get("form=systemlog", cookie)), "<pre>\na daemon &lt;1&gt;\na kernel\n</pre>");
    Response response = post({{"form", "systemlog"}, {"apply", "Apply"}, {key, "k[e]r|x"}}, cookie);
    EXPECT_EQ(response.lacks({"Changes to configuration succeeded.",
                              ".current\" title=\"k&#x5b;e&#x5d;r&#x7c;x\""}),
              "");
    EXPECT_EQ(lines(response), "<pre>\na kernel\n</pre>");
    EXPECT_EQ(lines(get("form=systemlog", cookie)), "<pre>\na kernel\n</pre>");
    // Submitted without a new one it stays; the box removes it.
    post({{"form", "systemlog"}, {"apply", "Apply"}, {key, ""}}, cookie);
    EXPECT_EQ(lines(get("form=systemlog", cookie)), "<pre>\na kernel\n</pre>");
    post({{"form", "systemlog"}, {"apply", "Apply"}, {std::string(key) + ".delete", "on"}}, cookie);
    EXPECT_NE(lines(get("form=systemlog", cookie)).find("daemon"), std::string::npos);
    EXPECT_EQ(read(config).find("filepattern"), std::string::npos);
    addUser("joe", {"pmoperator"});
    EXPECT_TRUE(get("form=systemlog", login("joe")).has("not authorized"));
}

} // namespace
} // namespace zandorin::test
