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
        const bool posts = !fields.empty();
        fields.insert(fields.begin(), {"form", "example"});
        const Response response = posts ? post(fields, cookie_) : get(encode(fields), cookie_);
        const std::string shown = response.part("{{", "}}\t</body>");
        return shown.size() < 12 ? response.body : shown.substr(2, shown.size() - 12);
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
            for (const auto &[key, value] : fieldsOf(text))
                configure(key, value);
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
    const struct {
        const char *call;
        const char *error;
    } rows[] = {
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
    for (const auto &row : rows)
        EXPECT_EQ(show("", "[CGI_CALL(ui::" + std::string(row.call) + ")]"),
                  "[]" + errorBox(row.error))
            << row.call;
    EXPECT_EQ(show("", "CGI_CALL(ui::getElemValue,a,b)"),
              "params: 2<br>\n" + errorBox("getElemValue() takes 1 param"));
}

TEST_F(Templates, Functions) {
    configure("config.e.text", "<b>");
    configure("config.e.secret", "hush");
    configure("config.system.password", "$6$hash");
    configure("config.e.on", "on");
    configure("config.auth.pmshell.available", "on");
    configure("config.system.snmp.engineid2", "0x80");
    put("/etc/config/motd", "Keep <out>\n");
    put("/etc/config/FIPS", "");
    put("/var/run/snmpd/snmpd.conf", "x\noldEngineID 0x80<00\noldEngineID 1\n");
    put("/var/run/snmpd/snmpapp.conf", "setup\noldEngineID 0x81\n");
    put("/lines", "one & 1\ntwo\nlast/line");
    const std::string def = "CGI_CALL(ui::addElement,config.e.text,Text)"
                            "CGI_CALL(ui::addElement,config.e.secret,Secret,password)"
                            "CGI_CALL(ui::addElement,config.auth.pmshell.enabled,<i>L</i>,boolean)";
    std::string stars;
    for (int i = 0; i < 8; ++i)
        stars += "&#x2a;";
    const std::string text = "<input type=\"text\" class=\"formfield\" name=\"config.e.";
    const struct {
        const char *call;
        std::string expected;
    } rows[] = {
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
    for (const auto &row : rows)
        EXPECT_EQ(show(def, "[CGI_CALL(ui::" + std::string(row.call) + ")]"),
                  "[" + row.expected + "]")
            << row.call;
}

TEST_F(Templates, WhatIsMissingIsTold) {
    configure("config.ui.syslog.filepattern", "(");
    const struct {
        const char *call;
        std::string shown;
        std::string error;
    } rows[] = {
        {"getFile,/none<,x", "", "Failed to open file: /none&lt;"},
        {"getFile,/etc/version", "", "Invalid regular expression: &#x28;"},
        {"getElemLabel,config.x<", "", "getElemLabel() no such element: config.x&lt;"},
        {"getUnsafeTextInput,config.x,0,on",
         "<table border=\"0\" cellpadding=\"0\" cellspacing=\"0\"><tr><td><div "
         "id=\"config.x.current\" title=\"\"><b><i>(Currently empty)</i></b></div></td></tr><tr>"
         "<td><input type=\"checkbox\" name=\"config.x.delete\" value=\"on\">Clear this field."
         "</td></tr><tr><td><input type=\"text\" class=\"formfield\" name=\"config.x\"  "
         "size=\"25\"></td></tr></table>",
         "Invalid argument for getUnsafeTextInput() checkbox: on"},
        {"getUnsafeTextAreaInput,config.x,0,on",
         "<table border=\"0\" cellpadding=\"0\" cellspacing=\"0\" width=\"100%%\"><tr><td><div "
         "id=\"config.x.current\" title=\"\"><b><i>(Currently empty)</i></b></div></td></tr><tr>"
         "<td><input type=\"checkbox\" name=\"config.x.delete\" value=\"on\">Clear this field."
         "</td></tr><tr><td><textarea name=\"config.x\"></textarea></td></tr></table>",
         "Invalid argument for getUnsafeTextInput() checkbox: on"},
    };
    expectLog("No such label for 'config.x<'");
    for (const auto &row : rows)
        EXPECT_EQ(show("", "[CGI_CALL(ui::" + std::string(row.call) + ")]"),
                  "[" + row.shown + "]" + errorBox(row.error))
            << row.call;
}

TEST_F(Templates, SystemFiles) {
    const struct {
        const char *name;
        const char *path;
        const char *contents;
        const char *call;
        const char *expected;
    } rows[] = {
        {"uptime", "/proc/uptime", "273906.9 1.0\n", "getUptime",
         "3 days, 4 hours, 5 mins, 6 secs"},
        {"below a minute", "/proc/uptime", "59.9", "getUptime", "0 days, 0 hours, 0 mins, 59 secs"},
        {"no uptime", "/proc/uptime", "0.0", "getUptime", "Unavailable"},
        {"bad uptime", "/proc/uptime", "up", "getUptime", "/proc/uptime malformed"},
        {"firmware", "/etc/version", "A/B V 1.2 x\n", "getFirmwareVersion", "1.2"},
        {"last word", "/etc/version", "A/B V 1.2\n", "getFirmwareVersion", "Unknown"},
        {"hardly a rest", "/etc/version", "A/B V ", "getFirmwareVersion", "Unknown"},
        {"model", "/etc/version", "A/B V 1.2 x\n", "getModel", "B "},
        {"blank first", "/etc/version", "A B/C\n", "getModel", "Unknown"},
        {"no slash", "/etc/version", "A V\n", "getModel", "A "},
        {"no blank", "/etc/version", "A/B\n", "getModel", "B"},
        {"empty", "/etc/version", "", "getModel", "Unknown"},
    };
    for (const auto &row : rows) {
        put(row.path, row.contents);
        EXPECT_EQ(show("", "[CGI_CALL(ui::" + std::string(row.call) + ")]"),
                  "[" + std::string(row.expected) + "]")
            << row.name;
    }
    for (const char *path : {"/proc/uptime", "/etc/version", "/etc/config/motd"})
        std::remove(onHost(path).c_str());
    EXPECT_EQ(show("", "CGI_CALL(ui::getUptime),CGI_CALL(ui::getModel),"
                       "CGI_CALL(ui::getFirmwareVersion),CGI_CALL(ui::getMotd)"),
              "Unavailable,Unknown,Unknown,");
}

TEST_F(Templates, PatternsThatWouldTakeForeverAreRefused) {
    put("/log", std::string(200, 'a') + "\n");
    const struct {
        const char *pattern;
        bool taken;
    } rows[] = {
        {"^a{200}$", true},
        {"(a{1,3}\\.){1,3}|a", true},
        {"a{2000000000000000000000}", false},
        {"((a{1,255}){1,255}){1,100}", false},
        {"(a{1,32767}){1,32767}", false},
        {"(.*)(.*)(.*)(.*)\\1\\2\\3\\4x", false},
        {"a\\", false},
    };
    for (const auto &row : rows) {
        const std::string shown =
            show("", "CGI_CALL(ui::getFile,/log)", {{"config.ui.syslog.filepattern", row.pattern}});
        EXPECT_EQ(shown.find("</pre>") != std::string::npos, row.taken) << row.pattern;
        EXPECT_EQ(shown.find("Invalid regular expression: ") != std::string::npos, !row.taken)
            << row.pattern;
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
    EXPECT_TRUE(response.has("Changes to configuration succeeded."));
    EXPECT_TRUE(response.has(".current\" title=\"k&#x5b;e&#x5d;r&#x7c;x\""));
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
