#include "tests/support/request_test.h"

namespace zandorin::test {
namespace {

class Configurators : public RequestTest {
  protected:
    /// Runs a shell command line in the appliance's root folder as a configurator is run; answers
    /// its exit status.
    int run(const std::string &command) const {
        const int status =
            std::system(("cd '" + onHost("") + "' && PATH=/usr/bin:/bin ZANDORIN_ROOT='" +
                         onHost("") + "' " + command + " >out 2>&1")
                            .c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    int configurator(const std::string &name) const {
        return run("usr/lib/zandorin/configurators/" + name + " '" + onHost(config_file) + "'");
    }
};

TEST_F(Configurators, ToolGetsAndSetsTheCommittedConfiguration) {
    const std::string usage =
        "zandorin-config: usage: get KEY | is KEY | set KEY VALUE | add LIST [KEY=VALUE ...] | "
        "delete RECORD-KEY | move RECORD-KEY N | check [KEY [VALUE]] | describe [--search]; with "
        "--json, get --secret, set --force\n";
    const std::tuple<std::string, int, std::string> rows[] = {
        {"get config.system.none", 1, ""},
        {"set --force config.system.flag Yes", 0, ""},
        {"is config.system.flag", 0, ""},
        {"is config.system.name", 1, ""},
        {"set --force config.system.note 'a <b> & \\'", 0, ""},
        {"get config.system.note", 0, "a <b> & \\\n"},
        {"set --force 'no key' x", 1, "zandorin-config: Invalid configuration key\n"},
        {"set --force config.a \"$(printf '\\001')\"", 1,
         "zandorin-config: Control character in the value of config.a\n"},
        // Under the rules of the pages, in their words.
        {"set config.system.flag Yes", 1,
         "zandorin-config: no page of this appliance knows 'config.system.flag'\n"},
        {"set config.system.smtp.port banana", 1,
         "zandorin-config: SMTP Port must be assigned a TCP Port. The value 'banana' is "
         "invalid.\n"},
        {"get config.system.smtp.port", 1, ""},
        {"set config.auth.sessionlifetime 5 --json", 2, usage},
        {"--json set config.auth.sessionlifetime 5", 1,
         "{\"key\":\"config.auth.sessionlifetime\",\"message\":\"Session lifetime must be between "
         "10 and 1440 minutes\"}\n"},
        {"set config.auth.type TACACS", 1,
         "zandorin-config: TACACS+ Authentication and Authorization Server Address must be "
         "specified\nzandorin-config: TACACS+ Server Password must be specified\n"},
        {"set config.console.ppp.callback.enabled off", 0, ""},
        {"set config.ports.port8.speed 115200", 0, ""},
        {"get --json config.ports.port8.speed", 0, "{\"value\":\"115200\"}\n"},
        {"set config.system.confirm x", 1,
         "zandorin-config: config.system.confirm is no setting that can be given a value.\n"},
        // No password is printed, and root's is stored as its page does.
        {"set config.system.password kite-5", 0, ""},
        {"get config.system.password", 0, "********\n"},
        {"check config.system.name 'a b'", 1,
         "zandorin-config: System Name must be assigned a Fully Qualified Domain Name. The value "
         "'a b' is invalid.\n"},
        {"check", 0, ""},
        {"set --force config.system.smtp.security loud", 1,
         "zandorin-config: Secure Connection must be one of the choices. The value 'loud' is "
         "invalid.\n"},
        {"add config.nothing a=b", 1,
         "zandorin-config: no page of this appliance knows 'config.nothing'\n"},
        {"set config.a", 2, usage},
    };
    for (const auto &[command, status, output] : rows) {
        EXPECT_EQ(run("bin/zandorin-config " + command), status) << command;
        EXPECT_EQ(read("/out"), output) << command;
    }
    EXPECT_NE(configuration().find("<password>$6$"), std::string::npos);
    put(config_file, "<config><system>");
    EXPECT_EQ(run("bin/zandorin-config set --force config.a x"), 1);
    EXPECT_EQ(configuration(), "<config><system>");
}

TEST_F(Configurators, ToolGoesPastTheQueue) {
    constexpr const char *delayed = "/etc/config/delayed/config.xml";
    put(config_file, "<config><delayed>on</delayed><a>1</a><b>1</b></config>");
    put(delayed, "<config><delayed>off</delayed><a>1</a><b>2</b><c>3</c></config>");
    EXPECT_EQ(run("bin/zandorin-config get config.c"), 1);
    EXPECT_EQ(run("bin/zandorin-config set --force config.a 9"), 0);
    EXPECT_EQ(run("bin/zandorin-config set --force config.b 9"), 0);
    EXPECT_NE(configuration().find("<a>9</a>\n  <b>9</b>"), std::string::npos) << configuration();
    // The queue keeps what it changes itself, and brings no old value back.
    EXPECT_NE(read(delayed).find("<a>9</a>\n  <b>2</b>\n  <c>3</c>"), std::string::npos)
        << read(delayed);
    // A queue that cannot be read is left to whoever commits it.
    put(delayed, "<config");
    EXPECT_EQ(run("bin/zandorin-config set --force config.a 8"), 0);
    EXPECT_EQ(read(delayed), "<config");
}

TEST_F(Configurators, WebServerListensAsConfigured) {
    constexpr const char *settings = "/etc/lighttpd/settings.conf";
    const std::string http = "config.services.http.";
    const std::string https = "config.services.https.";
    const struct {
        const char *name;
        Fields keys;
        std::vector<std::string> has;
        std::vector<std::string> lacks;
    } rows[] = {
        {"as shipped", {}, {"server.bind = \"0.0.0.0\"\nserver.port = 80\n"}, {"ssl", "redirect"}},
        {"HTTPS beside it",
         {{https + "enabled", "on"}, {https + "port", "8443"}},
         {"server.port = 80\n", "\"0.0.0.0:8443\" {\n    ssl.engine", "https://%1:8443${url.path}"},
         {}},
        {"HTTPS alone",
         {{http + "enabled", "off"}, {https + "port", ""}},
         {"server.port = 443\nssl.engine = \"enable\""},
         {"redirect"}},
        {"neither", {{https + "enabled", "off"}}, {"server.bind = \"127.0.0.1\""}, {"ssl"}},
        {"no port", {{http + "port", "80\"\ninclude \"x"}}, {"server.port = 80\n"}, {"include"}},
        {"names",
         {{http + "hostnames", "A.example, b\",c|d,.*,(e,f\\g,h-1"}},
         {"|a\\.example|", "|h-1", "localhost"},
         {"|b", "c|d", "*|", "(e", "f\\g"}},
    };
    fs::create_directories(onHost("/var/run"));
    for (const auto &row : rows) {
        configure(row.keys);
        EXPECT_EQ(configurator("services"), 0) << row.name << read("/out");
        const std::string text = read(settings);
        for (const std::string &piece : row.has)
            EXPECT_NE(text.find(piece), std::string::npos) << row.name << piece << "\n" << text;
        for (const std::string &piece : row.lacks)
            EXPECT_EQ(text.find(piece), std::string::npos) << row.name << piece << "\n" << text;
    }
    EXPECT_EQ(modeOf("/etc/config/ssl_key.pem"), 0600U);
}

TEST_F(Configurators, HostNameAndMessageOfTheDay) {
    const std::pair<std::string, std::string> rows[] = {
        {"My Rack", "My-Rack\n"},
        {"-$(reboot);`x`\xc3\xa9\n-a.", "reboot---x----a\n"},
        {std::string(67, '0'), std::string(64, '0') + "\n"},
        {"---", "before\n"},
    };
    for (const auto &[name, file] : rows) {
        put("/etc/hostname", "before\n");
        configure("config.system.name", name);
        EXPECT_EQ(configurator("systemsettings"), 0) << name;
        EXPECT_EQ(read("/etc/hostname"), file) << name;
    }
    const std::string text = "a \\n $HOME\n\n%s\n\n";
    put("/etc/config/motd", text);
    EXPECT_EQ(configurator("systemsettings"), 0);
    EXPECT_EQ(read("/etc/motd"), text);
    remove("/etc/config/motd");
    EXPECT_EQ(configurator("systemsettings"), 0);
    EXPECT_FALSE(exists("/etc/motd"));
}

TEST_F(Configurators, PasswordOfRoot) {
    const std::string others = "rooty:x:7:7:back\\slash \\n:/:/bin/sh\n\n";
    const std::string rest = ":0:0:Root:/:/bin/sh\n:\nroot:second:0:0:::\n";
    const std::tuple<const char *, bool, int> rows[] = {
        {"$6$ab./$cd", true, 0}, {"", false, 0},           {"clear", false, 0},
        {"$6$a:0:0", false, 1},  {"$6$a\nx::0", false, 1}, {"$6$a&\\1", false, 1},
    };
    for (const auto &[hash, taken, status] : rows) {
        put(passwd, others + "root:old" + rest);
        configure("config.system.password", hash);
        EXPECT_EQ(configurator("systemsettings"), status) << hash;
        EXPECT_EQ(read(passwd), others + "root:" + (taken ? hash : "old") + rest);
        EXPECT_EQ(modeOf(passwd), taken ? 0644U : 0600U) << hash;
    }
    put(passwd, others);
    configure("config.system.password", "$6$ab");
    EXPECT_EQ(configurator("systemsettings"), 1) << "no line of root's";
    EXPECT_EQ(read(passwd), others);
}

TEST_F(Configurators, RebootActsOnceAsItWasTold) {
    constexpr const char *request = "/var/run/reboot-requested";
    put("/etc/config/own", "x");
    EXPECT_EQ(configurator("reboot"), 0);
    EXPECT_FALSE(exists(request)) << "nobody asked for it";

    configure(formData("config.system.reboot=on&config.system.fips=on"));
    EXPECT_EQ(configurator("reboot"), 0);
    EXPECT_TRUE(exists(request) && exists("/etc/config/FIPS") && exists("/etc/config/own"));
    EXPECT_EQ(stored("config.system.reboot"), "off");

    configure(formData("config.system.reboot=on&config.system.fips=off&config.system.erase=on"));
    put("/etc/config/delayed/config.xml", "<config/>");
    EXPECT_EQ(configurator("reboot"), 0);
    for (const std::string name : {"config.xml", "passwd", "group"})
        EXPECT_EQ(read("/etc/config/" + name), read("/usr/lib/zandorin/factory/" + name));
    for (const std::string gone : {"own", "delayed", "FIPS"})
        EXPECT_FALSE(exists("/etc/config/" + gone)) << gone;

    // Without a factory state there is nothing to go back to.
    configure(formData("config.system.reboot=on&config.system.erase=on"));
    remove(request);
    remove("/usr/lib/zandorin/factory");
    EXPECT_EQ(configurator("reboot"), 1);
    EXPECT_TRUE(exists("/etc/config/passwd"));
    EXPECT_FALSE(exists(request));
}

TEST_F(Configurators, WebServerGetsAKeyAndACertificateOnce) {
    if (run("openssl version") != 0)
        GTEST_SKIP() << "openssl is not installed";
    constexpr const char *key = "/etc/config/ssl_key.pem";
    constexpr const char *certificate = "/etc/config/ssl_cert.pem";
    EXPECT_EQ(configurator("ssl"), 0) << read("/out");
    EXPECT_EQ(modeOf(key), 0600U);
    EXPECT_EQ(run("sh -c '[ \"$(openssl x509 -noout -pubkey -in etc/config/ssl_cert.pem)\" = "
                  "\"$(openssl pkey -pubout -in etc/config/ssl_key.pem)\" ]'"),
              0)
        << "they belong together";
    const std::string first = read(key) + read(certificate);
    EXPECT_EQ(configurator("ssl"), 0);
    EXPECT_EQ(read(key) + read(certificate), first);
    // A key that waits for its certificate is not thrown away.
    remove(certificate);
    EXPECT_EQ(configurator("ssl"), 0);
    EXPECT_EQ(read(key), first.substr(0, read(key).size()));
    EXPECT_TRUE(exists(certificate));
}

} // namespace
} // namespace zandorin::test
