#include "tests/support/request_test.h"

// Requests that a page of another site makes a user's browser send.

namespace zandorin::test {
namespace {

class ForeignRequest : public RequestTest {
  protected:
    Environment from(const Environment &marks, const std::string &query, bool isPost) {
        Environment variables = {{"REQUEST_METHOD", isPost ? "POST" : "GET"},
                                 {"QUERY_STRING", isPost ? "" : query},
                                 {"CONTENT_TYPE", "application/x-www-form-urlencoded"},
                                 {"HTTP_HOST", "console.example:8080"},
                                 {"HTTP_COOKIE", login()}};
        variables.insert(marks.begin(), marks.end());
        return variables;
    }
    Response send(const Environment &marks, const std::string &query, bool isPost) {
        return request(from(marks, query, isPost), isPost ? query : "");
    }
};

bool isRefused(const Response &response) {
    return response.header.starts_with("HTTP/1.1 403 ") &&
           response.has("Another web site sent this request in your name.") &&
           response.headerLine("Set-Cookie").empty() && response.body.ends_with("</html>\n");
}

const Environment cross_site = {{"HTTP_SEC_FETCH_SITE", "cross-site"}};

TEST_F(ForeignRequest, IsToldByWhatBrowsersSay) {
    const struct {
        const char *name;
        Environment marks;
        bool foreign;
    } rows[] = {
        {"no browser", {}, false},
        {"own page", {{"HTTP_SEC_FETCH_SITE", "same-origin"}}, false},
        {"typed in", {{"HTTP_SEC_FETCH_SITE", "none"}}, false},
        {"neighbor", {{"HTTP_SEC_FETCH_SITE", "same-site"}}, true},
        {"elsewhere", cross_site, true},
        {"word of the future", {{"HTTP_SEC_FETCH_SITE", "same-origin, none"}}, true},
        {"own origin", {{"HTTP_ORIGIN", "http://Console.example:8080"}}, false},
        {"other port", {{"HTTP_ORIGIN", "http://console.example"}}, true},
        {"other origin", {{"HTTP_ORIGIN", "http://evil.example:8080"}}, true},
        {"longer name", {{"HTTP_ORIGIN", "http://console.example:8080.evil.example"}}, true},
        {"no origin to tell", {{"HTTP_ORIGIN", "null"}}, true},
        {"no host to be", {{"HTTP_ORIGIN", "http://"}, {"HTTP_HOST", ""}}, true},
        {"own referer", {{"HTTP_REFERER", "http://console.example:8080/?form=time"}}, false},
        {"other referer", {{"HTTP_REFERER", "http://evil.example/console.example:8080"}}, true},
        {"the browser knows best",
         {{"HTTP_SEC_FETCH_SITE", "same-origin"}, {"HTTP_ORIGIN", "https://proxy.example"}},
         false},
        {"through the proxy",
         {{"HTTP_ORIGIN", "https://proxy.example"},
          {"HTTP_X_BASE_URI", "https://proxy.example/node/7"}},
         false},
        {"past the proxy",
         {{"HTTP_ORIGIN", "https://evil.example"},
          {"HTTP_X_BASE_URI", "https://proxy.example/node/7"}},
         true},
        {"proxy's path alone",
         {{"HTTP_ORIGIN", "https://evil.example"}, {"HTTP_X_BASE_URI", "/node/7"}},
         true},
    };
    for (const auto &row : rows)
        for (const bool isPost : {true, false}) {
            configure("config.system.name", "before");
            const Response response =
                send(row.marks, "form=systemsettings&apply=1&config.system.name=after", isPost);
            EXPECT_EQ(isRefused(response), row.foreign) << row.name;
            EXPECT_EQ(stored("config.system.name"), row.foreign ? "before" : "after") << row.name;
        }
}

TEST_F(ForeignRequest, ChangesNothingWhateverItsCommand) {
    configure("config.delayed", "on");
    configure("config.system.password", "$6$x$y");
    configure("config.ui.syslog.filepattern", "x");
    put("/etc/config/delayed/config.xml", read("/etc/config/config.xml"));
    addUser("ann", {"admin"});
    login();
    const auto before = files();
    for (const char *query :
         {"form=commit&apply=1", "form=commit&cancel=1", "form=reboot&config.system.reboot=on",
          "form=systemlog&config.ui.syslog.filepattern.delete=on", "form=logout",
          "form=login&action=logout", "form=login&action=login_userpass&username=root&password=x",
          "form=login&reply=1", "form=users&action=delete&type=user&index=1&opened=ann&apply=1",
          "form=autoresponse&action=delete&select=1", "action=&%61pply=1"})
        for (const bool isPost : {true, false})
            EXPECT_TRUE(isRefused(send(cross_site, query, isPost))) << query;
    for (const char *body : {"", "form=sessions"})
        EXPECT_TRUE(isRefused(send(cross_site, body, true))) << body;
    EXPECT_EQ(files(), before);
}

TEST_F(ForeignRequest, ThatOnlyLooksIsServed) {
    for (const char *query : {"", "form=sessions", "form=users&type=user&index=1",
                              "form=dialin&port=port1", "form=login&back=devices"}) {
        const Response response = send(cross_site, query, false);
        EXPECT_TRUE(response.header.starts_with("HTTP/1.1 200 ")) << query;
        EXPECT_TRUE(response.has("id=\"related-links\"")) << query;
    }
}

TEST_F(ForeignRequest, HostIsShownNowhere) {
    for (const char *query : {"", "form=sessions", "form=login", "form=none"}) {
        const Response response = request({{"REQUEST_METHOD", "GET"},
                                           {"QUERY_STRING", query},
                                           {"HTTP_COOKIE", login()},
                                           {"HTTP_HOST", "evil.example"},
                                           {"SERVER_NAME", "evil.example"},
                                           {"HTTP_X_FORWARDED_HOST", "evil.example"}});
        EXPECT_EQ((response.header + response.body).find("evil.example"), std::string::npos)
            << query;
    }
}

} // namespace
} // namespace zandorin::test
