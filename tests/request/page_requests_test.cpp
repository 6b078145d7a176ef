#include "tests/support/request_test.h"

#include <unistd.h>

// What page scripts ask for, and what a page tells them.

namespace zandorin::test {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

class PageRequests : public RequestTest {
  protected:
    std::string check(const std::string &type, const std::string &value) {
        return post({{"form", "check"}, {"type", type}, {"label", "A<b>"}, {"value", value}}).body;
    }
    std::string work() { return get("form=configurators").body; }

    void addSettings() const {
        addPage("t",
                "CGI_CALL(ui::addElement,config.test.a,A </script> \"label\",ipv4)"
                "CGI_CALL(ui::addElement,config.test.secret,Secret,password)",
                "body");
    }
};

TEST_F(PageRequests, AreForUsersWhoAreLoggedIn) {
    for (const char *form : {"configurators", "check"}) {
        const Response response = get(std::string("form=") + form, "");
        EXPECT_EQ(response.body, "{\"login\":true}\n") << form;
        EXPECT_EQ(response.headerLine("Content-Type"), "application/json");
    }
    // As a page asks: an account, a role, and no passwords that wait to be converted.
    expectLog("No such user: ann");
    addUser("ann", {"pmshell"});
    for (const char *refused : {"", "disabled", "no role", "unconverted", "no account"}) {
        const std::string cookie = login("ann");
        if (refused == std::string("disabled"))
            configure("config.users.user1.disabled", "on");
        else if (refused == std::string("no role"))
            configure(formData(
                "config.users.user1.disabled=off&config.users.user1.groups.group1=dialin"));
        else if (refused == std::string("unconverted"))
            configure("config.system.password", "clear");
        else if (refused == std::string("no account"))
            put(passwd, "root:x:0:0::/:/bin/sh\n");
        for (const char *form : {"configurators", "check"})
            EXPECT_EQ(get(std::string("form=") + form, cookie).body == "{\"login\":true}\n",
                      *refused != '\0')
                << refused << form;
        EXPECT_TRUE(exists("/var/run/.sessions/session-0123456789abcdef-ann")) << refused;
        EXPECT_EQ(get("form=manage", cookie).has("not authorized"), *refused != '\0') << refused;
        EXPECT_TRUE(get("form=sessions").has("Web Sessions")) << refused << ", but not for root";
    }
    expectLog("Failed to load roles for user 'ann'");
    expectLog("Upgrade firmware/config for non-root users.");
}

TEST_F(PageRequests, AValueIsCheckedAsItsFormWould) {
    // Of a password and of a file it tells nothing.
    for (const auto &[type, value] :
         formData("ipv4=192.0.2.1&password=a<b&unixfile=/etc/config/none"))
        EXPECT_EQ(check(type, value), "{\"message\":\"\"}\n") << type << value;
    const std::string refused = check("ipv4", "\"\\\xe9</script>");
    EXPECT_THAT(refused,
                HasSubstr("A&lt;b&gt;\\u003c/i> must be assigned a \\u003ci>IPv4 Address"));
    EXPECT_EQ(refused.find("</script"), std::string::npos);
    // What the table of the page knows besides: limits, a test of its own, places.
    const std::tuple<const char *, const char *, const char *, const char *> rows[] = {
        {"auth", "config.auth.sessionlifetime", "5", "between 10 and 1440 minutes"},
        {"auth", "config.auth.sessionlifetime", "30", "\"\""},
        {"serialconfig", "config.ports.port2.speed", "49", "must be 50 to 921600"},
        {"serialconfig", "config.ports.port99.speed", "49", "\"\""},
        {"snmp", "config.system.snmp.engineid2", "12", "must be a hex number"},
        {"snmp", "config.system.snmp.authpassword2", "short", "\"\""},
    };
    for (const auto &[page, name, text, message] : rows)
        EXPECT_THAT(post({{"form", "check"},
                          {"type", "text"},
                          {"value", text},
                          {"page", page},
                          {"name", name}})
                        .body,
                    HasSubstr(message))
            << name;
}

TEST_F(PageRequests, ConfiguratorsAreToldWhileTheyRun) {
    EXPECT_THAT(work(), MatchesRegex("\\{\"running\":false,\"uptime\":[0-9]+,\"run\":\\[\\]\\}\n"));
    addSettings();
    // A page that waits for configurators would wait for itself here.
    addConfigurator("t", "cat status | grep -q 'running [0-9]* 0 t$' && touch told; exit 4");
    ASSERT_EQ(0, ::symlink("var/run/configurators.status", onHost("/status").c_str()));
    expectLog("Configurator 't' failed with status 4");
    post("form=t&apply=Apply&config.test.a=192.0.2.1");
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
    Running saving = startPost(formData("form=t&apply=Apply&config.test.a=192.0.2.1"), login());
    saving.readPage();
    std::string seen;
    waitFor([&] { return (seen = work()).find("\"running\",") != std::string::npos; });
    EXPECT_THAT(seen, ContainsRegex("\\{\"running\":true,.*\"t\",\"state\":\"running\","));
    put("/go", "");
    saving.finish();
    EXPECT_THAT(work(), HasSubstr("\"state\":\"done\""));
}

TEST_F(PageRequests, APageTellsItsFieldsAndWhatASaveChanged) {
    addSettings();
    configure("config.test.a", "192.0.2.1");
    EXPECT_THAT(
        get("form=t").body,
        HasSubstr("<script type=\"application/json\" id=\"page-data\">{\"form\":\"t\",\"user\":"
                  "\"root\",\"submitted\":false,\"fields\":{\"config.test.a\":[\"ipv4\",\"A "
                  "\\u003c/script> \\u0022label\\u0022\"],\"config.test.secret\":[\"password\","
                  "\"Secret\"]}}</script>"));
    const char *fields = "form=t&apply=Apply&config.test.a=&config.test.secret=hush";
    EXPECT_THAT(post(fields).body,
                HasSubstr("<tr><td>config.test.a</td><td>192.0.2.1</td><td>&mdash;</td></tr>\n"
                          "<tr><td>config.test.secret</td><td>&mdash;</td><td>********</td>"));
    EXPECT_FALSE(post(fields).has("id=\"changes\"")) << "nothing changed";
}

} // namespace
} // namespace zandorin::test
