#include "tests/support/request_test.h"

#include <regex>

#include <gtest/gtest.h>

namespace zandorin::test {
namespace {

class Page : public RequestTest {};

constexpr const char *fatal_start = "<html><body bgcolor=\"#FFFFFF\"><p "
                                    "class=\"fatal-message\"><font color=\"#E20303\"><b>Fatal</b>"
                                    "</font> ";
constexpr const char *box_end = "</p></body></html>";

TEST_F(Page, HasTheHeaderAndFrame) {
    const Response response = get("form=sessions", login());
    EXPECT_EQ(response.header, "HTTP/1.1 200 OK\r\nCache-control: no-cache\r\nContent-Type: "
                               "text/html\r\nSet-Cookie: ZdSessionId=0123456789abcdef-root; "
                               "HttpOnly");
    const std::string frame =
        "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Transitional//EN\" "
        "\"http://www.w3.org/TR/xhtml1/DTD/xhtml1-transitional.dtd\">\n"
        "<html>\n\t<head>\n\t<meta http-equiv=\"X-UA-Compatible\" content=\"IE=7\">\n"
        "\t\t<title>zandorin - Zandorin Management Console</title>\n"
        "\t\t<meta http-equiv=\"Content-Type\" content=\"text/html; charset=iso-8859-1\"/>\n"
        "\t\t<link href=\"/css/management.css?v=2580759488\" rel=\"stylesheet\" "
        "type=\"text/css\"/>\n"
        "\t\t<link href=\"/pixmaps/fav.ico\" rel=\"shortcut icon\"/>\n\t</head>\n\t<body>\n";
    EXPECT_EQ(response.body.substr(0, frame.size()), frame);
    EXPECT_TRUE(response.body.ends_with("\t</body>\n</html>\n"));
    EXPECT_FALSE(response.has("CGI_CALL"));
    EXPECT_FALSE(response.has("#ui."));
    EXPECT_TRUE(response.has("Status</span></p>\n<h1>Web Sessions</h1>"));
    EXPECT_TRUE(response.has("root (this session)"));
    EXPECT_FALSE(response.has("0123456789abcdef")) << "a session's id unlocks it";
}

TEST_F(Page, WithoutASessionIsTheLoginForm) {
    for (const char *query : {"", "form=sessions", "form=index", "form=reboot"}) {
        const Response response = get(query);
        EXPECT_TRUE(response.has("name=\"username\"")) << query;
        EXPECT_TRUE(response.has("<input name=\"form\" value=\"login\" type=\"hidden\"/>"))
            << query;
        EXPECT_FALSE(response.has("related-links")) << query;
        EXPECT_EQ(response.headerLine("Set-Cookie"), "") << query;
    }
}

TEST_F(Page, DefaultFormFollowsTheStateOfTheAppliance) {
    EXPECT_TRUE(get("", login()).has("Zandorin Management Console</span></p>\n<h1>Welcome</h1>"));
    // Another user never sees the welcome page.
    addUser("ann", {"admin"});
    EXPECT_TRUE(get("form=index", login("ann")).has("Status</span></p>\n<h1>Summary</h1>"));
    // All of it set up: root sees the summary too.
    configure("config.interfaces.wan.mode", "dhcp");
    configure("config.ports.port1.speed", "9600");
    EXPECT_TRUE(get("", login()).has("Zandorin Management Console</span></p>\n<h1>Welcome</h1>"));
    put("/etc/config/passwd", "root:$1$abcdefgh$EARFjJK9mlHVaSkldiETN0:0:0:root:/:/bin/bash\n");
    EXPECT_TRUE(get("", login()).has("Status</span></p>\n<h1>Summary</h1>"));
}

TEST_F(Page, UnknownFormIsAWholePageThatSaysSo) {
    const Response response = get("form=%3Cb%3Ex", login());
    EXPECT_TRUE(response.has("Error</span></p>\n<h1>Page Not Found</h1>"));
    EXPECT_TRUE(response.has(std::string(fatal_start) + "No such form ID: &lt;b&gt;x" + box_end));
    EXPECT_TRUE(response.has("No such file: /home/httpd/forms/&lt;b&gt;x.frm"));
    EXPECT_TRUE(response.body.ends_with("</html>\n"));
    // No path leads out of the folder of forms.
    put("/home/httpd/secret.frm", "the secret");
    for (const char *query : {"form=../secret", "form=./../secret", "form=.hidden"})
        EXPECT_FALSE(get(query, login()).has("the secret")) << query;
}

TEST_F(Page, UnauthorizedUserGetsABareBoxAndLosesTheSession) {
    addUser("joe", {"dialin"});
    const std::string cookie = login("joe", "joes-session");
    const Response response = get("form=sessions", cookie);
    EXPECT_EQ(response.body, std::string(fatal_start) +
                                 "User 'joe' is not authorized to access this area." + box_end);
    EXPECT_FALSE(exists("/var/run/.sessions/session-joes-session"));
    EXPECT_NE(log().find("Unauthorized access by 'joe' to form 'sessions'"), std::string::npos);
    EXPECT_TRUE(get("form=sessions", cookie).has("name=\"username\""));
}

TEST_F(Page, OnlyRootWhileStoredPasswordsAreInClear) {
    configure("config.system.password", "clear");
    addUser("ann", {"admin"});
    expectLog("Upgrade firmware/config for non-root users.");
    EXPECT_TRUE(get("form=sessions", login("ann")).has("not authorized"));
    EXPECT_TRUE(get("form=sessions", login()).has("Web Sessions"));
}

TEST_F(Page, UserWithoutAnAccountIsRefused) {
    configure("config.users.total", "1");
    configure("config.users.user1.username", "ghost");
    configure("config.users.user1.groups.group1", "admin");
    expectLog("No such user: ghost");
    EXPECT_TRUE(get("form=sessions", login("ghost")).has("not authorized"));
}

TEST_F(Page, DamagedFilesAreReportedAndLeftAlone) {
    put("/etc/config/config.xml", "<config><system>");
    expectLog("Failed to read configuration.");
    Response response = get("form=sessions", login());
    EXPECT_TRUE(response.has(std::string(fatal_start) + "Failed to read configuration." + box_end));
    EXPECT_EQ(read("/etc/config/config.xml"), "<config><system>");

    put("/etc/config/config.xml", "<config/>");
    put("/home/httpd/nav.xml", "<tree><branch");
    expectLog("Damaged configuration");
    expectLog("/home/httpd/nav.xml");
    response = get("");
    EXPECT_TRUE(response.has("Invalid navigation tree config: /home/httpd/nav.xml"));
    EXPECT_EQ(read("/home/httpd/nav.xml"), "<tree><branch");
}

TEST_F(Page, MissingAndUnclosedTemplates) {
    addPage("t", "", "<p>CGI_CALL(ui::getHref,?form=t,again)</p>");
    for (const char *file : {"head.html", "tail.html"}) {
        const std::string path = std::string("/home/httpd/forms/") + file;
        ASSERT_EQ(std::remove(onHost(path).c_str()), 0);
        expectLog("No such file: " + path);
    }
    EXPECT_TRUE(
        get("form=t", login()).has("<p><a href=\"?form=t\">again</a></p>\t</body>\n</html>\n"));
    put("/home/httpd/forms/t.frm", "never CGI_CALL(ui::getTime");
    expectLog("Malformed CGI_CALL()");
    const Response response = get("form=t", login());
    EXPECT_FALSE(response.has("never"));
    EXPECT_FALSE(response.has("</html>\n"));
}

TEST_F(Page, HostileConfigurationIsShownEscaped) {
    configure("config.system.name", "<script>alert(1)</script>");
    configure("config.system.model", "\"><img src=x>");
    configure("config.interfaces.wan.mode", "<b>");
    const Response response = get("form=dashboardsummary", login());
    EXPECT_FALSE(response.has("<script>alert"));
    EXPECT_FALSE(response.has("<img src=x"));
    EXPECT_FALSE(response.has("<b>,"));
    EXPECT_TRUE(response.has("<title>&lt;script&gt;alert&#x28;1&#x29;&lt;/script&gt; - Zandorin"));
}

TEST_F(Page, ProxyBaseIsPutBeforeLinksEscaped) {
    const Response response = request({{"REQUEST_METHOD", "GET"},
                                       {"QUERY_STRING", "form=sessions&back=devices"},
                                       {"HTTP_COOKIE", login()},
                                       {"HTTP_X_BASE_URI", "/node/7\"><script>"}});
    EXPECT_TRUE(response.has("href=\"/node/7&quot;&gt;&lt;script&gt;/css/management.css"));
    EXPECT_TRUE(response.has("<div id=\"overlay\">This system is being accessed via Tallmark - "
                             "<a href=\"/?form=devices\">"));
    EXPECT_FALSE(response.has("\"><script>"));
}

TEST_F(Page, BadBodiesAreAnsweredByAWholePage) {
    const struct {
        const char *name;
        Environment variables;
        std::string body;
    } rows[] = {
        {"absurd length",
         {{"CONTENT_TYPE", "application/x-www-form-urlencoded"},
          {"CONTENT_LENGTH", "9999999999999999999"}},
         "a=b"},
        {"length with a tail",
         {{"CONTENT_TYPE", "application/x-www-form-urlencoded"}, {"CONTENT_LENGTH", "3x"}},
         "a=b"},
        {"huge announcement",
         {{"CONTENT_TYPE", "application/x-www-form-urlencoded"}, {"CONTENT_LENGTH", "2147483647"}},
         "a=b"},
        {"no boundary", {{"CONTENT_TYPE", "multipart/form-data"}}, "--x\r\n\r\n--x--\r\n"},
        {"cut part",
         {{"CONTENT_TYPE", "multipart/form-data; boundary=x"}},
         "--x\r\nContent-Disposition: form-data; name=\"form\"\r\n\r\nsess"},
        {"plain text", {{"CONTENT_TYPE", "text/plain"}}, "form=sessions"},
        {"high bytes",
         {{"CONTENT_TYPE", "application/x-www-form-urlencoded"}},
         std::string("form=\xff\x00\xfe&%=%&=&&", 17)},
    };
    expectLog("Multipart body without a boundary");
    for (const auto &row : rows) {
        Environment variables = row.variables;
        variables.emplace("REQUEST_METHOD", "POST");
        const Response response = request(variables, row.body);
        EXPECT_TRUE(response.body.ends_with("</html>\n")) << row.name;
        EXPECT_TRUE(response.has("name=\"username\"")) << row.name;
    }
}

TEST_F(Page, RequestThatIsNoneGetsNoPage) {
    const Environment rows[] = {
        {},
        {{"REQUEST_METHOD", "DELETE"}},
        {{"REQUEST_METHOD", "POST"},
         {"CONTENT_TYPE", "application/x-www-form-urlencoded"},
         {"CONTENT_LENGTH", "-1"}},
    };
    expectLog("Failed to initialise CGI: -1");
    for (const auto &variables : rows)
        EXPECT_EQ(request(variables).header, "") << "the web server answers in the program's place";
}

TEST_F(Page, DebugModeShowsDebugMessagesAndTraceIsLogged) {
    configure("config.ui.log.trace", "on");
    configure("config.ui.log.debug", "on");
    get("form=sessions", login());
    EXPECT_NE(log().find("Enabling CGI trace logging"), std::string::npos);
    EXPECT_EQ(log().find("Enabling CGI debug logging"), std::string::npos);
    EXPECT_NE(log().find("displayPage:"), std::string::npos);
}

TEST_F(Page, EveryIconAndScriptOfAPageIsThere) {
    const Response response = get("form=dashboardsummary", login());
    const std::regex reference("(?:src|href)=\"(/[^\"?]+)");
    int found = 0;
    for (std::sregex_iterator match(response.body.begin(), response.body.end(), reference), end;
         match != end; ++match, ++found)
        EXPECT_TRUE(exists("/home/httpd" + (*match)[1].str())) << (*match)[1];
    EXPECT_GT(found, 5);
}

} // namespace
} // namespace zandorin::test
