#include "tests/support/request_test.h"

#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>

namespace zandorin::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr const char *succeeded = "Changes to configuration succeeded.";
constexpr const char *delayed = "/etc/config/delayed/config.xml";

class Commit : public RequestTest {
  protected:
    Commit() {
        addPage("t",
                "CGI_CALL(ui::addElement,config.test.a,First,text,save)"
                "CGI_CALL(ui::addElement,config.test.b,Second,text,save,dontdelete)"
                "CGI_CALL(ui::addElement,config.delayed,Delayed,text,save,dontdelete)",
                "body");
    }

    Response submit(const std::string &fields) {
        return post(formData("form=t&apply=Apply&" + fields));
    }
    Response page() { return get("form=commit"); }
};

TEST_F(Commit, ASubmissionIsSavedOrNothing) {
    addConfigurator("t", "echo t >>ran");
    EXPECT_TRUE(submit("config.test.a=one&config.test.b=two").has(succeeded));
    EXPECT_EQ(stored("config.test.a") + stored("config.test.b"), "onetwo");
    const std::string saved = configuration();
    // The same once more changes nothing and says nothing; without "apply" it is no submission.
    EXPECT_FALSE(submit("config.test.a=one&config.test.b=two").has("info-message"));
    EXPECT_FALSE(post("form=t&config.test.a=x").has("info-message"));
    EXPECT_EQ(configuration(), saved);
    EXPECT_EQ(read("/ran"), "t\n");
}

TEST_F(Commit, DelayedChangesAreQueuedListedCancelledAndApplied) {
    addConfigurator("t", "echo t >>ran");
    const auto shortcut = [this] {
        return get("form=sessions").has("icon-commit.png\"><br/>Commit Changes</a>");
    };
    EXPECT_FALSE(shortcut());
    EXPECT_TRUE(page().has("There are no pending configuration changes</p>"));
    // Turning the mode on is not delayed itself.
    EXPECT_TRUE(submit("config.delayed=on").has(succeeded));
    EXPECT_TRUE(shortcut());
    EXPECT_TRUE(page().has("There are currently no pending configuration changes</p>"));
    const std::string form = "name=\"commit\">";
    EXPECT_FALSE(page().has(form)) << "nothing to apply or to cancel";
    const std::string before = configuration();
    remove("/ran");

    EXPECT_TRUE(submit("config.test.a=new&config.delayed=off")
                    .has("Changes to configuration queued.To commit these changes, click the "
                         "'Commit Changes' shortcut"));
    EXPECT_TRUE(post("form=commit&cancel=Cancel")
                    .has("Discarding delayed configuration</p></body></html>\n"));
    EXPECT_FALSE(exists(delayed));
    submit("config.test.a=new&config.delayed=off");
    EXPECT_EQ(configuration(), before);
    put("/home/httpd/forms/t.frm", "CGI_CALL(ui::getTextInput,config.test.a)");
    EXPECT_TRUE(get("form=t").has("value=\"new\"")) << "a queued change shows in its form";
    EXPECT_TRUE(page().has("<p>The following configurators will be run on config "
                           "commit:</b></p>\n<p>t<br>\n</p>"));
    EXPECT_TRUE(page().has(form));
    EXPECT_FALSE(page().has("will reboot"));
    EXPECT_FALSE(exists("/ran"));

    EXPECT_FALSE(post("form=commit&apply=Apply").has("class=\"error-message\""));
    EXPECT_EQ(stored("config.test.a"), "new");
    EXPECT_FALSE(exists(delayed));
    EXPECT_EQ(read("/ran"), "t\n");
    EXPECT_FALSE(shortcut()) << "the commit turned the mode off";
}

TEST_F(Commit, RebootIsQueuedOrDoneAndNeedsItsBox) {
    const std::string before = configuration();
    EXPECT_TRUE(post("form=reboot&apply=Apply")
                    .has("<p>To safely reboot the system you must enable the appropriate checkbox "
                         "on the <a href=\"?form=systemsettings\">"));
    EXPECT_EQ(configuration(), before);

    configure("config.delayed", "on");
    const char *fields = "form=reboot&apply=Apply&config.system.reboot=on";
    EXPECT_TRUE(post(fields).has("<p>A delayed reboot has been queued."));
    EXPECT_EQ(read("/etc/config/delayed/configurators"), "reboot\nssl\n");
    EXPECT_TRUE(page().has("<b>the device will reboot</b>"));
    remove("/etc/config/delayed/configurators");
    EXPECT_TRUE(page().has("name=\"commit\">")) << "a reboot waits";
    put("/etc/config/delayed/configurators", "reboot\nssl\n");
    EXPECT_FALSE(exists("/var/run/reboot-requested"));
    post("form=commit&apply=Apply");
    EXPECT_TRUE(exists("/var/run/reboot-requested"));

    configure("config.delayed", "off");
    remove("/var/run/reboot-requested");
    EXPECT_TRUE(post(fields).has("<p>The device is rebooting, "));
    EXPECT_TRUE(exists("/var/run/reboot-requested"));
    EXPECT_EQ(stored("config.system.reboot"), "off");
}

TEST_F(Commit, ThePageEndsBeforeItsConfiguratorAndTheNextRequestWaits) {
    addConfigurator("t", "sleep 5; echo done >ended");
    const auto started = Clock::now();
    Running first = startPost(formData("form=t&apply=Apply&config.test.a=1"), login());
    first.readPage();
    EXPECT_LT(Clock::now() - started, 3s);
    EXPECT_FALSE(first.hasEnded());
    // What ends a web server's children does not stop it half-way.
    for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGPIPE})
        ::kill(first.pid, signal);
    const Response second = get("form=t");
    EXPECT_TRUE(exists("/ended")) << "the second request was served too early";
    EXPECT_TRUE(second.body.ends_with("</html>\n"));
    EXPECT_LT(Clock::now() - started, 10s);
    const Response page = first.finish();
    EXPECT_EQ(page.status, 0);
    EXPECT_TRUE(page.has(succeeded));
    EXPECT_FALSE(exists("/var/run/configurators.pid"));
}

TEST_F(Commit, ConfiguratorsThatBeginAtTheSameMomentDoNotMeet) {
    if (std::system("strace -o /dev/null true >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "strace cannot trace processes here";
    addPage("u",
            "CGI_CALL(ui::addElement,config.test.u1,One,text,save,dontdelete)"
            "CGI_CALL(ui::addElement,config.test.u2,Two,text,save,dontdelete)",
            "CGI_CALL(ui::getFile,/gate,.)");
    addConfigurator("u", "echo u >>ran; sleep 0.3; echo /u >>ran");
    ASSERT_EQ(::mkfifo(onHost("/gate").c_str(), 0600), 0);
    // Slow between a look at whether others run theirs, and the word that this one does.
    const std::vector<std::string> slowly = {
        "env", "ASAN_OPTIONS=detect_leaks=0",    "strace", "-o", "/dev/null", "-e", "trace=rename",
        "-e",  "inject=rename:delay_enter=50000"};
    std::vector<Running> requests;
    for (const char *key : {"config.test.u1", "config.test.u2"})
        requests.push_back(
            startPost(Fields{{key, "1"}} + formData("form=u&apply=Apply"), login(), slowly));
    ASSERT_TRUE(
        waitFor([&] { return stored("config.test.u1") + stored("config.test.u2") == "11"; }));
    std::this_thread::sleep_for(500ms); // until both stand at the gate
    UniqueFd(::open(onHost("/gate").c_str(), O_WRONLY | O_CLOEXEC)).reset();
    for (Running &request : requests)
        EXPECT_EQ(request.finish().status, 0);
    EXPECT_EQ(read("/ran"), "u\n/u\nu\n/u\n");
}

TEST_F(Commit, WhoWaitedIsLookedAtAgain) {
    addUser("ann", {"admin"});
    addConfigurator("t", "until [ -e go ]; do sleep 0.01; done");
    for (const char *ended : {"account", "session"}) {
        remove("/go");
        configure("config.test.b", "before");
        Running first =
            startPost(formData(std::string("form=t&apply=Apply&config.test.a=") + ended), login());
        first.readPage();
        Running second = startPost(formData("form=t&apply=Apply&config.test.b=after"),
                                   login("ann", "anns-session"));
        std::this_thread::sleep_for(200ms);
        EXPECT_FALSE(second.hasEnded()) << ended;
        if (ended == std::string("account"))
            configure("config.users.user1.disabled", "on");
        else
            remove("/var/run/.sessions/session-anns-session");
        put("/go", "");
        EXPECT_EQ(second.finish().status, 0) << ended;
        first.finish();
        EXPECT_EQ(stored("config.test.b"), "before") << ended;
        configure("config.users.user1.disabled", "off");
    }
    expectLog("Failed to load roles for user 'ann'");
}

} // namespace
} // namespace zandorin::test
