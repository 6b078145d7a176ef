#include "tests/request/users_page.h"

// What happens to an appliance: many at once, a full disk, a clock that jumps. No change that was
// acknowledged is lost, no file is torn, and nothing hangs: each request has a minute.

namespace zandorin::test {
namespace {

class Disaster : public Users {
  protected:
    Disaster() {
        addPage("t", "CGI_CALL(ui::addElement,config.t.a,A)", "");
        configure("config.t.a", "old");
    }

    static Fields change(const std::string &value) {
        return {{"form", "t"}, {"apply", "on"}, {"config.t.a", value}};
    }
    static bool acknowledged(const Response &response) {
        return response.status == 0 && response.has("Changes to configuration succeeded.");
    }
    Response postBy(const std::vector<std::string> &wrapper, const Fields &fields,
                    const Environment &more = {}) {
        Environment variables = more;
        variables["HTTP_COOKIE"] = login();
        return start(variables, encode(fields), wrapper).finish();
    }
};

TEST_F(Disaster, FiftyWritersAtOnceLoseNothing) {
    constexpr int writers = 50;
    const auto key = [](int n) { return "config.w" + std::to_string(n) + ".a"; };
    std::vector<Running> running;
    const std::string cookie = login();
    for (int n = 0; n < writers; ++n)
        addPage("w" + std::to_string(n), "CGI_CALL(ui::addElement," + key(n) + ",A)", "");
    for (int n = 0; n < writers; ++n)
        running.push_back(startPost(
            {{"form", "w" + std::to_string(n)}, {"apply", "on"}, {key(n), "value"}}, cookie));
    for (int n = 0; n < writers; ++n)
        EXPECT_TRUE(acknowledged(running[static_cast<std::size_t>(n)].finish())) << n;
    for (int n = 0; n < writers; ++n)
        EXPECT_EQ(stored(key(n)), "value");
}

TEST_F(Disaster, UsersAddedAtOnceAreThereOrWereRefused) {
    const auto name = [](int n) { return "user" + std::to_string(n); };
    // All of them from pages that were opened at the same time, for the same place of the list.
    std::vector<Running> running;
    for (int n = 0; n < 12; ++n)
        running.push_back(startPost(userFields(1, "", name(n), "secret"), login()));
    int found = 0;
    for (int n = 0; n < 12; ++n) {
        const bool done = saved(running[static_cast<std::size_t>(n)].finish());
        EXPECT_EQ(!account(name(n)).empty(), done) << n;
        EXPECT_NE(configuration().find(">" + name(n) + "<") == std::string::npos, done) << n;
        found += done ? 1 : 0;
    }
    EXPECT_GT(found, 0);
    EXPECT_EQ(value("users.total"), std::to_string(found));
}

TEST_F(Disaster, CallsThatAreInterruptedAndCarryHalfDoTheirWork) {
    const Environment rough = {{"LD_PRELOAD", preloads(true)}};
    EXPECT_TRUE(acknowledged(postBy({}, change("new"), rough)));
    EXPECT_EQ(stored("config.t.a"), "new");
    EXPECT_TRUE(saved(postBy({}, userFields(1, "", "ann", "secret"), rough))) << log();
    EXPECT_TRUE(hasPassword("ann", "secret"));
}

TEST_F(Disaster, AFullDiskIsToldAndLosesNothing) {
    const std::string before = configuration();
    const std::string accounts = read(passwd);
    expectLog("Failed to ");
    expectLog("The login accounts can not be ");
    for (const std::size_t size : {std::size_t{0}, accounts.size(), before.size() - 1})
        for (const bool killed : {false, true})
            for (const Fields &fields : {change("new"), userFields(1, "", "ann", "secret")}) {
                // The signal that comes with it ends the program, or is ignored by the server.
                std::vector<std::string> wrapper = {"prlimit", "--fsize=" + std::to_string(size)};
                if (!killed)
                    wrapper.insert(wrapper.begin(), {"env", "--ignore-signal=XFSZ"});
                const Response response = postBy(wrapper, fields);
                EXPECT_TRUE(killed || (response.status == 0 && (response.has("Failed to ") ||
                                                                response.has("error-message"))))
                    << size << response.body;
                EXPECT_FALSE(response.has("Changes to configuration succeeded.")) << size;
                EXPECT_EQ(configuration(), before) << size;
                // What stands there is whole, and the account is taken over.
                EXPECT_TRUE(read(passwd).starts_with(accounts)) << size;
            }
    EXPECT_TRUE(saved(post(userFields(1, "", "ann", "secret"))));
    EXPECT_TRUE(acknowledged(post(change("new"))));
}

TEST_F(Disaster, AClockThatJumpsEndsSessionsAndLosesNothing) {
    for (const char *jump : {"400000000", "-400000000", "100000", "-100000"}) {
        const Environment clock = {{"ZANDORIN_TEST_CLOCK", jump}, {"LD_PRELOAD", preloads(true)}};
        const Response during = postBy({}, change(jump), clock);
        EXPECT_EQ(during.status, 0);
        EXPECT_TRUE(during.body.ends_with("</html>\n")) << jump;
        EXPECT_EQ(stored("config.t.a") == jump, acknowledged(during)) << jump;
        EXPECT_FALSE(*jump != '-' && acknowledged(during)) << "the session has ended, " << jump;
        // Set right again.
        EXPECT_TRUE(acknowledged(post(change(std::string("after ") + jump)))) << jump;
    }
}

} // namespace
} // namespace zandorin::test
