#include "tests/support/request_test.h"

#include <chrono>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>

namespace zandorin::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr const char *succeeded = "Changes to configuration succeeded.";
constexpr const char *queued = "Changes to configuration queued.To commit these changes, click the "
                               "'Commit Changes' shortcut";
constexpr const char *delayed = "/etc/config/delayed/config.xml";

class Commit : public RequestTest {
  protected:
    Commit() : cookie_(login()) {
        addPage("t",
                "CGI_CALL(ui::addElement,config.test.a,First,text,save)"
                "CGI_CALL(ui::addElement,config.test.b,Second,text,save,dontdelete)"
                "CGI_CALL(ui::addElement,config.delayed,Delayed,text,save,dontdelete)",
                "body");
    }

    Response submit(const std::string &fields) {
        return post(formData("form=t&apply=Apply&" + fields), cookie_);
    }
    Response page() { return get("form=commit", cookie_); }

    template <typename Condition> static bool comes(Condition condition) {
        const auto deadline = Clock::now() + 20s;
        while (!condition() && Clock::now() < deadline)
            std::this_thread::sleep_for(5ms);
        return condition();
    }

    std::string cookie_;
};

TEST_F(Commit, ASubmissionIsSavedOrNothing) {
    addConfigurator("t", "echo t >>ran");
    const Response response = submit("config.test.a=one&config.test.b=two");
    EXPECT_TRUE(response.has("<div style=\"word-break:break-all\"><html><body "
                             "bgcolor=\"#FFFFFF\"><p class=\"info-message\"><font "
                             "color=\"#0000FF\"><b>Message</b></font> Changes to configuration "
                             "succeeded.</p></body></html></div><br/>\n"));
    const std::string stored = configuration();
    EXPECT_NE(stored.find("<a>one</a>\n    <b>two</b>"), std::string::npos) << stored;
    EXPECT_EQ(read("/ran"), "t\n");

    // The same once more changes nothing and says nothing.
    EXPECT_FALSE(submit("config.test.a=one&config.test.b=two").has("info-message"));
    // Without "apply" it is no submission.
    EXPECT_FALSE(post("form=t&config.test.a=x", cookie_).has("info-message"));
    EXPECT_EQ(configuration(), stored);
    EXPECT_EQ(read("/ran"), "t\n");
}

TEST_F(Commit, DelayedChangesAreQueuedListedAndApplied) {
    addConfigurator("t", "echo t >>ran");
    const auto shortcut = [this] {
        return get("form=sessions", cookie_).has("icon-commit.png\"><br/>Commit Changes</a>");
    };
    EXPECT_FALSE(shortcut());
    EXPECT_TRUE(page().has("There are no pending configuration changes</p>"));
    // Turning the mode on is not delayed itself.
    EXPECT_TRUE(submit("config.delayed=on").has(succeeded));
    EXPECT_TRUE(shortcut());
    EXPECT_TRUE(page().has("There are currently no pending configuration changes</p>"));
    const std::string before = configuration();
    remove("/ran");

    EXPECT_TRUE(submit("config.test.a=new&config.delayed=off").has(queued));
    EXPECT_EQ(configuration(), before);
    EXPECT_FALSE(exists("/ran"));
    put("/home/httpd/forms/t.frm", "CGI_CALL(ui::getTextInput,config.test.a)");
    EXPECT_TRUE(get("form=t", cookie_).has("value=\"new\"")) << "a queued change shows in its form";

    const Response page = this->page();
    EXPECT_TRUE(page.has("Commit Configuration"));
    EXPECT_TRUE(page.has(
        "<p>The following configurators will be run on config commit:</b></p>\n<p>t<br>\n</p><p>"
        "<form method=\"POST\" name=\"commit\"><input name=\"apply\" class=\"formbtn\" "
        "value=\"Apply\" type=\"submit\"><input name=\"cancel\" class=\"formbtn\" value=\"Cancel\" "
        "type=\"submit\"><input name=\"form\" value=\"commit\" type=\"hidden\"/></form></p>"));
    EXPECT_FALSE(page.has("will reboot"));

    const Response applied = post("form=commit&apply=Apply", cookie_);
    EXPECT_FALSE(applied.has("class=\"error-message\""));
    EXPECT_NE(configuration().find("<a>new</a>"), std::string::npos);
    EXPECT_FALSE(exists(delayed));
    EXPECT_EQ(read("/ran"), "t\n");
    EXPECT_FALSE(shortcut()) << "the commit turned the mode off";
}

TEST_F(Commit, DelayedChangesAreCancelled) {
    configure("config.delayed", "on");
    const std::string before = configuration();
    EXPECT_TRUE(submit("config.test.a=new&config.delayed=on").has(queued));
    const Response response = post("form=commit&cancel=Cancel", cookie_);
    EXPECT_EQ(response.part("<h1>", "<footer"), response.part("<h1>", "</h1>\n") +
                                                    response.part("<html><body", "</html>\n") +
                                                    response.part("</main>", "<footer"))
        << "nothing but the box";
    EXPECT_TRUE(response.has("Discarding delayed configuration</p></body></html>\n"));
    EXPECT_EQ(configuration(), before);
    EXPECT_FALSE(exists(delayed));
    EXPECT_FALSE(post("form=commit&apply=Apply", cookie_).has("error-message"));
    EXPECT_EQ(configuration(), before);
}

TEST_F(Commit, RebootIsQueuedOrDoneAndNeedsItsBox) {
    std::string before = configuration();
    const Response asked = post("form=reboot&apply=Apply", cookie_);
    EXPECT_TRUE(asked.has("Administration</span></p>\n<h1>Rebooting the System</h1>"));
    EXPECT_TRUE(asked.has(
        "<p>To safely reboot the system you must enable the appropriate checkbox on the <a "
        "href=\"?form=systemsettings\">System Administration Page</a> before continuing.  Click <a "
        "href=\"?form=systemsettings\">here</a> to return there now.</p>"));
    EXPECT_EQ(configuration(), before);

    configure("config.delayed", "on");
    const char *fields = "form=reboot&apply=Apply&config.system.reboot=on";
    Response response = post(fields, cookie_);
    EXPECT_TRUE(response.has("<p>A delayed reboot has been queued. <b>Commiting the changes will "
                             "restart the device.</b> </p><p>To return to the <a "
                             "href=\"?form=systemsettings\">System Administration Page</a> click "
                             "<a href=\"?form=systemsettings\">here</a>.</p>"));
    EXPECT_EQ(read("/etc/config/delayed/configurators"), "reboot\nssl\n");
    EXPECT_TRUE(
        page().has("<p>Please note that <b>the device will reboot</b> in the process of this "
                   "config commit.</p>"));
    EXPECT_FALSE(exists("/var/run/reboot-requested"));
    post("form=commit&apply=Apply", cookie_);
    EXPECT_TRUE(exists("/var/run/reboot-requested"));

    configure("config.delayed", "off");
    remove("/var/run/reboot-requested");
    response = post(fields, cookie_);
    EXPECT_TRUE(
        response.has("<p>The device is rebooting, restarting the system will take a moment. "
                     "Please note that <b>the system will not respond to connections "
                     "during this process</b>.</p>"));
    EXPECT_TRUE(exists("/var/run/reboot-requested"));
    EXPECT_NE(configuration().find("<reboot>off</reboot>"), std::string::npos);
}

TEST_F(Commit, ThePageEndsBeforeItsConfiguratorAndTheNextRequestWaits) {
    addConfigurator("t", "sleep 5; echo done >ended");
    const auto started = Clock::now();
    Running first = startPost(formData("form=t&apply=Apply&config.test.a=1"), cookie_);
    first.readPage();
    EXPECT_LT(Clock::now() - started, 3s);
    EXPECT_FALSE(first.hasEnded());
    // What ends a web server's children does not stop it half-way.
    for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGPIPE})
        ::kill(first.pid, signal);
    const Response second = get("form=t", cookie_);
    EXPECT_TRUE(exists("/ended")) << "the second request was served too early";
    EXPECT_TRUE(second.body.ends_with("</html>\n"));
    EXPECT_LT(Clock::now() - started, 10s);
    const Response page = first.finish();
    EXPECT_EQ(page.status, 0);
    EXPECT_TRUE(page.has(succeeded));
    EXPECT_FALSE(exists("/var/run/configurators.pid"));
}

TEST_F(Commit, ConfiguratorsOfTwoRequestsDoNotMeet) {
    addPage("u", "CGI_CALL(ui::addElement,config.test.u,Other)", "CGI_CALL(ui::getFile,/gate,.)");
    addConfigurator("t", "echo t >>ran; sleep 1; echo /t >>ran");
    addConfigurator("u", "echo u >>ran");
    ASSERT_EQ(::mkfifo(onHost("/gate").c_str(), 0600), 0);
    // The page waits at the gate with its own configurator scheduled.
    Running other = startPost(formData("form=u&apply=on&config.test.u=1"), cookie_);
    ASSERT_TRUE(comes([&] { return configuration().find("<u>1</u>") != std::string::npos; }));
    Running first = startPost(formData("form=t&apply=Apply&config.test.a=1"), cookie_);
    ASSERT_TRUE(comes([&] { return exists("/ran"); }));
    UniqueFd(::open(onHost("/gate").c_str(), O_WRONLY | O_CLOEXEC)).reset();
    first.finish();
    EXPECT_TRUE(other.finish().body.ends_with("</html>\n"));
    EXPECT_EQ(read("/ran"), "t\n/t\nu\n");
}

} // namespace
} // namespace zandorin::test
