#include "tests/support/request_test.h"

#include <unistd.h>

namespace zandorin::test {
namespace {

class Page : public RequestTest {};

TEST_F(Page, HasTheHeaderAndFrame) {
    const Response response = get("form=sessions");
    EXPECT_EQ(response.header, "HTTP/1.1 200 OK\r\nCache-control: no-cache\r\nContent-Type: "
                               "text/html\r\nSet-Cookie: ZdSessionId=0123456789abcdef-root; "
                               "HttpOnly");
    EXPECT_TRUE(response.body.starts_with(
        "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Transitional//EN\" "
        "\"http://www.w3.org/TR/xhtml1/DTD/xhtml1-transitional.dtd\">\n"
        "<html>\n\t<head>\n\t<meta http-equiv=\"X-UA-Compatible\" content=\"IE=7\">\n"
        "\t\t<title>zandorin - Zandorin Management Console</title>\n"
        "\t\t<meta http-equiv=\"Content-Type\" content=\"text/html; charset=iso-8859-1\"/>\n"
        "\t\t<link href=\"/css/management.css?v=2580759488\" rel=\"stylesheet\" "
        "type=\"text/css\"/>\n"
        "\t\t<link href=\"/pixmaps/fav.ico\" rel=\"shortcut icon\"/>\n\t</head>\n\t<body>\n"));
    EXPECT_TRUE(response.body.ends_with("\t</body>\n</html>\n"));
    EXPECT_EQ(response.lacks({"Status</span></p>\n<h1>Web Sessions</h1>", "root (this session)"}),
              "");
    EXPECT_EQ(response.holds({"CGI_CALL", "#ui.", "0123456789abcdef"}), "")
        << "a session's id unlocks it";
}

TEST_F(Page, DefaultFormFollowsTheStateOfTheAppliance) {
    const std::string welcome = "Zandorin Management Console</span></p>\n<h1>Welcome</h1>";
    const std::string summary = "Status</span></p>\n<h1>Summary</h1>";
    EXPECT_TRUE(get("").has(welcome));
    // Another user never sees the welcome page.
    addUser("ann", {"admin"});
    EXPECT_TRUE(get("form=index", login("ann")).has(summary));
    // All of it set up: root sees the summary too.
    configure("config.interfaces.wan.mode", "dhcp");
    configure("config.ports.port1.speed", "9600");
    EXPECT_TRUE(get("").has(welcome));
    put(passwd, "root:$1$abcdefgh$EARFjJK9mlHVaSkldiETN0:0:0:root:/:/bin/bash\n");
    EXPECT_TRUE(get("").has(summary));
}

TEST_F(Page, UnknownFormIsAWholePageThatSaysSo) {
    const Response response = get("form=%3Cb%3Ex");
    EXPECT_EQ(response.lacks({"Error</span></p>\n<h1>Page Not Found</h1>",
                              "<b>Fatal</b></font> No such form ID: &lt;b&gt;x</p>",
                              "No such file: /home/httpd/forms/&lt;b&gt;x.frm"}),
              "");
    EXPECT_TRUE(response.body.ends_with("</html>\n"));
    // No path leads out of the folder of forms.
    put("/home/httpd/secret.frm", "the secret");
    put("/home/httpd/forms/.hidden.frm", "the secret");
    for (const char *query : {"form=../secret", "form=./../secret", "form=.hidden"})
        EXPECT_FALSE(get(query).has("the secret")) << query;
}

TEST_F(Page, DamagedFilesAreReportedAndLeftAlone) {
    put(config_file, "<config><system>");
    expectLog("Failed to read configuration.");
    EXPECT_TRUE(get("form=sessions").has("Failed to read configuration.</p>"));
    EXPECT_EQ(configuration(), "<config><system>");

    put(config_file, "<config/>");
    put("/home/httpd/nav.xml", "<tree><branch");
    expectLog("Damaged configuration");
    expectLog("/home/httpd/nav.xml");
    EXPECT_TRUE(get("", "").has("Invalid navigation tree config: /home/httpd/nav.xml"));
    EXPECT_EQ(read("/home/httpd/nav.xml"), "<tree><branch");
}

TEST_F(Page, AReaderThatHasGoneIsNoFault) {
    const Response response =
        start({{"HTTP_COOKIE", login()}}, "",
              {"/bin/bash", "-c", "set -o pipefail; (sleep 0.2; exec \"$0\") | :"})
            .finish();
    EXPECT_EQ(response.status, 0);
}

TEST_F(Page, OnlyRootAndItsOwnAccountHoldItForMaintenance) {
    const std::string file = onHost("/tmp/wait");
    ASSERT_EQ(::symlink("/etc/passwd", file.c_str()), 0);
    if (::lchown(file.c_str(), 65534, 65534) == 0) {
        EXPECT_TRUE(get("", "").has("name=\"username\"")) << "a link that anybody made";
    }
    remove("/tmp/wait");
    put("/tmp/wait", "");
    Running held = start({});
    ::usleep(300000);
    EXPECT_FALSE(held.hasEnded());
    remove("/tmp/wait");
    EXPECT_TRUE(held.finish().body.ends_with("</html>\n"));
}

TEST_F(Page, ProxyBaseIsPutBeforeLinksEscaped) {
    const Response response = request({{"QUERY_STRING", "form=sessions&back=devices"},
                                       {"HTTP_COOKIE", login()},
                                       {"HTTP_X_BASE_URI", "/node/7\"><script>"}});
    EXPECT_EQ(response.lacks({"href=\"/node/7&quot;&gt;&lt;script&gt;/css/management.css",
                              "<div id=\"overlay\">This system is being accessed via Tallmark - "
                              "<a href=\"/?form=devices\">"}),
              "");
}

TEST_F(Page, BadRequestsGetTheLoginPageOrNone) {
    const std::string encoded = "application/x-www-form-urlencoded";
    const struct {
        std::string method, type, length, body;
        bool isAnswered = true;
    } rows[] = {
        {"POST", encoded, "2147483647", "a=b"},
        {"POST", encoded, "17", std::string("form=\xff\x00\xfe&%=%&=&&", 17)},
        {"POST", encoded, "-1", "", false},
        {"DELETE", "", "0", "", false},
    };
    expectLog("Failed to initialise CGI: -1");
    for (const auto &row : rows) {
        const Response response = request({{"REQUEST_METHOD", row.method},
                                           {"CONTENT_TYPE", row.type},
                                           {"CONTENT_LENGTH", row.length}},
                                          row.body);
        EXPECT_EQ(response.has("name=\"username\""), row.isAnswered) << row.length << row.type;
        EXPECT_EQ(response.body.ends_with("</html>\n"), row.isAnswered) << row.length << row.type;
        EXPECT_EQ(response.header.empty(), !row.isAnswered) << row.length << row.type;
    }
}

} // namespace
} // namespace zandorin::test
