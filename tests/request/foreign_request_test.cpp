#include "tests/support/request_test.h"
#include "util/files.h"

// Requests that a page of another site makes a user's browser send.

namespace zandorin::test {
namespace {

class ForeignRequest : public RequestTest {
  protected:
    Response send(const Environment &marks, const std::string &query, bool isPost) {
        Environment variables = {{"REQUEST_METHOD", isPost ? "POST" : "GET"},
                                 {"QUERY_STRING", isPost ? "" : query},
                                 {"HTTP_HOST", "console.example:8080"},
                                 {"HTTP_COOKIE", login()}};
        for (const auto &[name, value] : marks)
            variables[name] = value;
        return request(variables, isPost ? query : "");
    }
};

bool isRefused(const Response &response) {
    return response.header.starts_with("HTTP/1.1 403 ") &&
           response.has("Another web site sent this request in your name.") &&
           response.headerLine("Set-Cookie").empty() && response.body.ends_with("</html>\n");
}

const Environment cross_site = {{"HTTP_SEC_FETCH_SITE", "cross-site"}};

TEST_F(ForeignRequest, IsToldByWhatBrowsersSay) {
    const std::string proxy = "https://proxy.example";
    const std::string base = proxy + "/node/7";
    const std::string evil = "https://evil.example";
    const struct {
        const char *name;
        bool foreign;
        Environment marks;
    } rows[] = {
        {"no browser", false, {}},
        {"typed in", false, {{"HTTP_SEC_FETCH_SITE", "none"}}},
        {"neighbor", true, {{"HTTP_SEC_FETCH_SITE", "same-site"}}},
        {"word of the future", true, {{"HTTP_SEC_FETCH_SITE", "same-origin, none"}}},
        {"own origin", false, {{"HTTP_ORIGIN", "http://Console.example:8080"}}},
        {"other port", true, {{"HTTP_ORIGIN", "http://console.example"}}},
        {"longer name", true, {{"HTTP_ORIGIN", "http://console.example:8080.evil.example"}}},
        {"no origin to tell", true, {{"HTTP_ORIGIN", "null"}}},
        {"no host to be", true, {{"HTTP_ORIGIN", "http://"}, {"HTTP_HOST", ""}}},
        {"own referer", false, {{"HTTP_REFERER", "http://console.example:8080/?form=time"}}},
        {"other referer", true, {{"HTTP_REFERER", "http://evil.example/console.example:8080"}}},
        {"browser knows", false, {{"HTTP_SEC_FETCH_SITE", "same-origin"}, {"HTTP_ORIGIN", proxy}}},
        {"through the proxy", false, {{"HTTP_ORIGIN", proxy}, {"HTTP_X_BASE_URI", base}}},
        {"past the proxy", true, {{"HTTP_ORIGIN", evil}, {"HTTP_X_BASE_URI", base}}},
    };
    for (const auto &[name, isForeign, marks] : rows)
        for (const bool isPost : {true, false}) {
            configure("config.system.name", "before");
            const Response response =
                send(marks, "form=systemsettings&apply=1&config.system.name=after", isPost);
            EXPECT_EQ(isRefused(response), isForeign) << name;
            EXPECT_EQ(stored("config.system.name"), isForeign ? "before" : "after") << name;
        }
}

TEST_F(ForeignRequest, ChangesNothingWhateverItsCommand) {
    configure("config.delayed", "on");
    put("/etc/config/delayed/config.xml", configuration());
    addUser("ann", {"admin"});
    login();
    const auto before = files();
    for (const char *query :
         {"form=commit&apply=1", "form=commit&cancel=1", "form=logout", "form=login&action=logout",
          "form=systemlog&config.ui.syslog.filepattern.delete=on", "form=login&reply=1",
          "form=users&action=delete&type=user&index=1&opened=ann&apply=1",
          "form=autoresponse&select=1", "action=&%61pply=1"})
        for (const bool isPost : {true, false})
            EXPECT_TRUE(isRefused(send(cross_site, query, isPost))) << query;
    EXPECT_TRUE(isRefused(send(cross_site, "", true)));
    EXPECT_EQ(files(), before);
}

TEST_F(ForeignRequest, WebServerKnowsTheSameCommands) {
    const std::string source =
        readFile(ZANDORIN_SOURCE_DIR "/engine/foreign_request.cpp").value_or("");
    const auto lists = captures(source, "command_fields\\[\\] = \\{([^}]*)\\}");
    ASSERT_EQ(lists.size(), 1U);
    const std::string words = std::regex_replace(lists[0], std::regex("\"|\\s"), "");
    const std::string alternatives = std::regex_replace(words, std::regex(","), "|");
    EXPECT_NE(read("/etc/lighttpd/console.conf").find("(?:" + alternatives + "|config\\.[^=&]*)="),
              std::string::npos)
        << alternatives;
}

TEST_F(ForeignRequest, ThatOnlyLooksIsServed) {
    for (const char *query : {"", "form=users&type=user&index=1", "form=login&back=devices"}) {
        const Response response = send(cross_site, query, false);
        EXPECT_TRUE(response.header.starts_with("HTTP/1.1 200 ")) << query;
        EXPECT_TRUE(response.has("id=\"related-links\"")) << query;
    }
}

TEST_F(ForeignRequest, EndsNoSessionAndIsNoLogin) {
    addUser("ann", {"dialin"});
    const std::string cookie = login("ann");
    EXPECT_TRUE(request({{"QUERY_STRING", "form=time"},
                         {"HTTP_SEC_FETCH_SITE", "cross-site"},
                         {"HTTP_COOKIE", cookie}})
                    .has("not authorized"));
    EXPECT_TRUE(exists("/var/run/.sessions/session-0123456789abcdef-ann"));
    EXPECT_TRUE(send(cross_site, "form=login", false).has("You have successfully logged in."));
    EXPECT_EQ(log().find("LOGIN from"), std::string::npos);
}

TEST_F(ForeignRequest, HostIsShownNowhere) {
    for (const char *query : {"form=sessions", "form=login", "form=none"}) {
        const Response response = send({{"HTTP_HOST", "evil.example"},
                                        {"SERVER_NAME", "evil.example"},
                                        {"HTTP_X_FORWARDED_HOST", "evil.example"}},
                                       query, false);
        EXPECT_EQ((response.header + response.body).find("evil.example"), std::string::npos)
            << query;
    }
}

} // namespace
} // namespace zandorin::test
