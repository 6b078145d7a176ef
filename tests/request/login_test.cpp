#include "tests/request/users_page.h"

// Logins from outside: the real program, the real helper, PAM.

namespace zandorin::test {
namespace {

class Login : public RequestTest {
  protected:
    Login() {
        put("/etc/pam.d/web", "auth required pam_unix.so nodelay\naccount required pam_unix.so\n");
        put(passwd,
            std::string("root:") + ::crypt("kestrel", "$6$saltsalt$") + ":0:0::/root:/bin/sh\n");
    }

    static Fields credentials(const std::string &name, const std::string &password) {
        return Fields{{"username", name}, {"password", password}} +
               formData("form=login&action=login_userpass");
    }
    Response logIn(const std::string &name, const std::string &password,
                   const std::string &cookie = "") {
        return post(credentials(name, password), cookie);
    }
    /// The cookie header for the session that a response opened.
    static std::string cookieOf(const Response &response) {
        const auto cookies = captures(response.headerLine("Set-Cookie"),
                                      "^(ZdSessionId=[0-9a-f]{16,32}); HttpOnly$");
        EXPECT_EQ(cookies.size(), 1U);
        return cookies.empty() ? "" : cookies[0];
    }
    void logOut(const std::string &cookie) { get("form=logout", cookie); }
};

bool isIn(const Response &response) {
    return response.has("You have successfully logged in.");
}

TEST_F(Login, TakesEachKindOfPasswordHash) {
    const std::pair<const char *, const char *> rows[] = {
        {"", "$1$"}, {"md5", "$1$"}, {"sha512", "$6$"}, {"yescrypt", "$y$"}};
    int index = 0;
    for (const auto &[way, prefix] : rows) {
        const std::string name = "user" + std::to_string(++index);
        if (*way != '\0')
            configure("config.auth.passwordhash", way);
        const std::string admin = login();
        EXPECT_TRUE(post(userFields(index, "", name, "merlin"), admin).has("succeeded")) << way;
        EXPECT_NE(read(passwd).find("\n" + name + ":" + prefix), std::string::npos) << way;
        EXPECT_FALSE(isIn(logIn(name, "merlins"))) << way;
        const Response response = logIn(name, "merlin");
        EXPECT_TRUE(isIn(response)) << way;
        logOut(cookieOf(response));
    }
    post({{"form", "systemsettings"},
          {"apply", "on"},
          {"config.system.name", "zandorin"},
          {"config.system.password", "merlin"},
          {"config.system.confirm", "merlin"}});
    EXPECT_TRUE(read(passwd).starts_with("root:$y$")) << read(passwd);
    const Response response = logIn("root", "merlin");
    EXPECT_TRUE(isIn(response));
    EXPECT_EQ(cookieOf(response).size(), std::string("ZdSessionId=").size() + 32);
}

TEST_F(Login, AlwaysMakesASessionOfItsOwn) {
    for (const std::string planted : {"0123456789abcdef", "ffffffffffffffffffffffffffffffff"}) {
        const Response response = logIn("root", "kestrel", "ZdSessionId=" + planted);
        EXPECT_TRUE(isIn(response));
        EXPECT_TRUE(response.has("window.location=\"?\"")) << "the engine knows what comes first";
        EXPECT_NE(log().find("WebUI User: root - LOGIN from"), std::string::npos);
        const std::string cookie = cookieOf(response);
        EXPECT_NE(cookie, "ZdSessionId=" + planted) << "set beforehand";
        EXPECT_FALSE(exists("/var/run/.sessions/session-" + planted));
        const std::string id = cookie.substr(cookie.find('=') + 1);
        EXPECT_FALSE(get("form=sessions", cookie).has(id));
        logOut(cookie);
        // A page opened before a logout is of no use after it.
        const Response late = post("form=systemsettings&apply=1&config.system.name=after", cookie);
        EXPECT_TRUE(late.has("name=\"username\""));
        EXPECT_EQ(late.headerLine("Set-Cookie"), "");
        EXPECT_EQ(stored("config.system.name"), "zandorin");
    }
}

TEST_F(Login, FilesAreTheOwnersAloneUnderAnyUmask) {
    for (const char *mask : {"0", "0777"}) {
        fs::remove_all(onHost("/var/run/.sessions"));
        configure("config.bfprotection.enabled", "on");
        const Response response =
            startPost(credentials("root", "kestrel"), "",
                      {"/bin/sh", "-c", std::string("umask ") + mask + "; exec \"$0\""})
                .finish();
        EXPECT_TRUE(isIn(response)) << mask;
        const std::string cookie = cookieOf(response);
        int seen = 0;
        for (const auto &entry : fs::recursive_directory_iterator(onHost("/var/run"))) {
            const auto mode = static_cast<unsigned>(entry.symlink_status().permissions());
            EXPECT_EQ(mode, entry.is_directory() ? 0700U : 0600U) << mask << " " << entry.path();
            ++seen;
        }
        EXPECT_GE(seen, 4) << "folder, session, helper's socket, failed logins";
        logOut(cookie);
    }
}

TEST_F(Login, GuessingIsStoppedWhereItComesFrom) {
    configure(formData("config.bfprotection.enabled=on&config.bfprotection.limit=2&"
                       "config.bfprotection.timeout=7"));
    const std::string wrong = "Invalid login credentials. Please try again";
    EXPECT_TRUE(logIn("root", "guess").has(wrong));
    EXPECT_TRUE(logIn("nobody", "guess").has(wrong));
    // What would open a lock that is read from a log.
    const std::string forged = "x\nWebUI User: root - LOGIN from 192.0.2.1:1";
    put("/var/log/messages", forged + "\n");
    for (const std::string &name : {std::string("root"), forged}) {
        const Response response = logIn(name, "kestrel");
        EXPECT_TRUE(response.has("Too many logins have failed. Please try again in 7 minutes."))
            << name;
        EXPECT_FALSE(response.has(wrong)) << name;
        EXPECT_EQ(response.headerLine("Set-Cookie"), "") << name;
    }
    EXPECT_NE(log().find("WebUI User: root - REFUSED after too many failed logins, from 192.0.2.1"),
              std::string::npos);
    EXPECT_EQ(log().find("\nWebUI User"), std::string::npos);

    // Somebody else's, and this one's once protection is off.
    for (const char *address : {"192.0.2.9", "192.0.2.1"}) {
        const Response response =
            request({{"REMOTE_ADDR", address}}, encode(credentials("root", "kestrel")));
        EXPECT_TRUE(isIn(response)) << address;
        logOut(cookieOf(response));
        configure("config.bfprotection.enabled", "off");
    }
}

TEST_F(Login, IsAPostOfItsFormAndOfNoOther) {
    configure(formData("config.bfprotection.enabled=on&config.bfprotection.limit=1"));
    const std::string rest = "&action=login_userpass&username=root&password=kestrel";
    for (const std::string form : {"form=time", "form=index", "form=", "GET"}) {
        const Response response =
            form == "GET" ? get("form=login" + rest, "") : post(formData(form + rest), "");
        EXPECT_EQ(response.headerLine("Set-Cookie"), "") << form;
        EXPECT_TRUE(response.has("name=\"username\"") && response.boxes().empty()) << form;
    }
    EXPECT_EQ(log().find("WebUI User"), std::string::npos);
    EXPECT_TRUE(isIn(logIn("root", "kestrel"))) << "nothing counted as a failure";
}

TEST_F(Login, EndsOlderSessions) {
    configure("config.auth.maxsessions", "2");
    for (const char *id : {"one", "two"})
        login("root", id);
    login("ann", "hers");
    put("/var/run/.sessions/session-one",
        std::regex_replace(read("/var/run/.sessions/session-one"), std::regex("session_start = .*"),
                           "session_start = 1"));
    const std::string own = cookieOf(logIn("root", "kestrel"));
    const auto isThere = [&](const char *id) {
        return exists(std::string("/var/run/.sessions/session-") + id);
    };
    EXPECT_TRUE(!isThere("one") && isThere("two") && isThere("hers"));

    // A new password of root's ends the others, at once or with its commit.
    const Fields change = formData("form=systemsettings&apply=1&config.system.password=new-one&"
                                   "config.system.confirm=new-one");
    EXPECT_TRUE(post(change, own).has("Changes to configuration succeeded."));
    EXPECT_TRUE(!isThere("two") && isThere("hers"));
    login("root", "two");
    configure("config.delayed", "on");
    EXPECT_TRUE(post(change, own).has("queued"));
    EXPECT_TRUE(isThere("two"));
    EXPECT_FALSE(post("form=commit&apply=Apply", own).has("error-message"));
    EXPECT_TRUE(!isThere("two") && isThere("hers"));
    EXPECT_TRUE(get("form=sessions", own).has("Web Sessions")) << "its own goes on";
    logOut(own);
}

TEST_F(Login, SeveralGuessesAtOnceDoNotGetPast) {
    configure("config.bfprotection.enabled", "on");
    std::vector<Running> attempts;
    for (int i = 0; i < 8; ++i)
        attempts.push_back(startPost(credentials("root", "guess"), ""));
    int judged = 0;
    for (Running &attempt : attempts)
        judged += attempt.finish().has("Invalid login credentials") ? 1 : 0;
    EXPECT_EQ(judged, 3);
}

} // namespace
} // namespace zandorin::test
