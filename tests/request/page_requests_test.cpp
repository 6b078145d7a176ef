#include "tests/support/request_test.h"

#include <unistd.h>

#include <regex>
#include <set>

#include <gmock/gmock.h>

// What page scripts ask for, and what a page tells them.

namespace zandorin::test {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

class PageRequests : public RequestTest {
  protected:
    PageRequests() : cookie_(login()) {}

    std::string check(const std::string &type, const std::string &value) {
        return post({{"form", "check"}, {"type", type}, {"label", "A<b>"}, {"value", value}},
                    cookie_)
            .body;
    }
    std::string work() { return get("form=configurators", cookie_).body; }

    void addSettings() const {
        addPage("t",
                "CGI_CALL(ui::addElement,config.test.a,A </script> \"label\",ipv4)"
                "CGI_CALL(ui::addElement,config.test.secret,Secret,password)",
                "body");
    }

    std::string cookie_;
};

TEST_F(PageRequests, AreForUsersWhoAreLoggedIn) {
    for (const char *form : {"configurators", "check"}) {
        const Response response = get(std::string("form=") + form);
        EXPECT_EQ(response.body, "{\"login\":true}\n") << form;
        EXPECT_EQ(response.headerLine("Content-Type"), "application/json");
    }
}

TEST_F(PageRequests, AValueIsCheckedAsItsFormWould) {
    // Of a password and of a file it tells nothing.
    for (const auto &[type, value] :
         formData("ipv4=192.0.2.1&ipv4=&password=a<b&unixfile=/etc/config/passwd&"
                  "unixfile=/etc/config/none"))
        EXPECT_EQ(check(type, value), "{\"message\":\"\"}\n") << type << value;
    expectLog("can not contain markup");
    EXPECT_THAT(check("text", "<b>"), HasSubstr("can not contain markup."));
    EXPECT_THAT(check("none", "1"), HasSubstr("No registered type"));
    const std::string refused = check("ipv4", "\"\\\xe9</script>");
    EXPECT_THAT(refused,
                HasSubstr("A&lt;b&gt;\\u003c/i> must be assigned a \\u003ci>IPv4 Address"));
    EXPECT_EQ(refused.find("</script"), std::string::npos);
}

TEST_F(PageRequests, ConfiguratorsAreToldWhileTheyRun) {
    EXPECT_THAT(work(), MatchesRegex("\\{\"running\":false,\"uptime\":[0-9]+,\"run\":\\[\\]\\}\n"));
    addSettings();
    // A page that waits for configurators would wait for itself here.
    addConfigurator("t", "cat status | grep -q 'running [0-9]* 0 t$' && touch told; exit 4");
    ASSERT_EQ(0, ::symlink("var/run/configurators.status", onHost("/status").c_str()));
    expectLog("Configurator 't' failed with status 4");
    post("form=t&apply=Apply&config.test.a=192.0.2.1", cookie_);
    EXPECT_TRUE(exists("/told")) << read("/var/run/configurators.status");
    EXPECT_THAT(work(), HasSubstr("\"run\":[{\"name\":\"t\",\"state\":\"failed\",\"seconds\":"));

    // Whoever ran it has gone; and a damaged file.
    put("/var/run/configurators.status", "running 1 0 t\nwaiting 0 0 u\n");
    EXPECT_THAT(work(), ContainsRegex("t\",\"state\":\"failed\",.*u\",\"state\":\"failed\","
                                      "\"seconds\":0,"));
    put("/var/run/configurators.status", "done 1\nbusy 1 2 t\ndone x 2 t\ndone 1 2 ../t\n\n");
    EXPECT_THAT(work(), HasSubstr("\"run\":[]"));
}

TEST_F(PageRequests, AnswerWhileConfiguratorsHoldEveryPage) {
    addSettings();
    addConfigurator("t", "until [ -e go ]; do sleep 0.01; done");
    Running saving = startPost(formData("form=t&apply=Apply&config.test.a=192.0.2.1"), cookie_);
    saving.readPage();
    std::string seen;
    for (int tries = 0; tries < 500 && seen.find("\"running\",") == std::string::npos; ++tries)
        seen = work();
    EXPECT_THAT(seen, HasSubstr("{\"running\":true,"));
    EXPECT_THAT(seen, HasSubstr("{\"name\":\"t\",\"state\":\"running\","));
    EXPECT_FALSE(saving.hasEnded());
    put("/go", "");
    saving.finish();
    EXPECT_THAT(work(), HasSubstr("\"state\":\"done\""));
}

TEST_F(PageRequests, APageTellsItsFields) {
    addSettings();
    const Response page = get("form=t", cookie_);
    EXPECT_EQ(
        page.part("<script type=\"application/json\"", "</script>"),
        "<script type=\"application/json\" id=\"page-data\">{\"form\":\"t\",\"user\":\"root\","
        "\"submitted\":false,\"fields\":{\"config.test.a\":[\"ipv4\",\"A \\u003c/script> "
        "\\u0022label\\u0022\"],\"config.test.secret\":[\"password\",\"Secret\"]}}</script>");
}

TEST_F(PageRequests, ASaveTellsWhatItChanged) {
    addSettings();
    configure("config.test.a", "192.0.2.1");
    const char *fields = "form=t&apply=Apply&config.test.a=&config.test.secret=hush";
    const std::string rows = "<tr><td>config.test.a</td><td>192.0.2.1</td><td>&mdash;</td></tr>\n"
                             "<tr><td>config.test.secret</td><td>&mdash;</td><td>********</td>";
    EXPECT_THAT(post(fields, cookie_).body, HasSubstr(rows));
    EXPECT_FALSE(post(fields, cookie_).has("id=\"changes\"")) << "nothing changed";
    EXPECT_FALSE(get("form=commit", cookie_).has("id=\"changes\""));
}

TEST_F(PageRequests, TheCommitPageListsTheQueueAndNoSecret) {
    const std::string before = read("/etc/config/config.xml");
    expectLog("Failed to generate snmpapp.conf"); // the appliance here has no SNMP service
    std::set<std::string> secrets;
    const std::regex password("\"(config[^\"]*)\":\\[\"password\"");
    for (const std::string form :
         {"auth", "dialin", "eventlog", "nagios", "smtp", "snmp", "systemsettings"}) {
        const std::string page = get("form=" + form, cookie_).body;
        for (std::sregex_iterator it(page.begin(), page.end(), password), end; it != end; ++it)
            secrets.insert((*it)[1]);
    }
    EXPECT_GE(secrets.size(), 10U);
    for (const char *key : {"config.services.snmp.rocommunity", "config.system.snmp.community2"})
        secrets.insert(key);
    configure("config.delayed", "on");
    for (const std::string &key : secrets)
        configure(key, "hush");
    put("/etc/config/delayed/config.xml", before);
    put("/etc/config/delayed/configurators", "config\n");
    const std::string page = get("form=commit", cookie_).body;
    for (const std::string &key : secrets)
        EXPECT_THAT(page, HasSubstr("<td>" + key + "</td><td>********</td><td>"));
    EXPECT_EQ(page.find("hush"), std::string::npos);
}

} // namespace
} // namespace zandorin::test
