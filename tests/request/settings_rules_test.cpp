#include "tests/support/request_test.h"

#include <regex>

namespace zandorin::test {
namespace {

/// A submission, all the errors it gets, joined by "|", and what is stored before it. Submitted
/// and stored are formData(), the keys without what the page's have in common.
struct Row {
    std::string name;
    std::string sent;
    std::string errors = "";
    std::string stored = "";
};

class SettingsRules : public RequestTest {
  protected:
    SettingsRules() { put("/var/run/snmpd/snmpapp.conf", "oldEngineID 0x8000\n"); }

    static std::string errorsOf(const Response &response) {
        static const std::regex error("class=\"error-message\"><font[^>]*><b>Error</b></font> "
                                      "(.*?)</p>");
        std::string errors;
        for (std::sregex_iterator match(response.body.begin(), response.body.end(), error), end;
             match != end; ++match)
            errors += (errors.empty() ? "" : "|") + (*match)[1].str();
        return errors;
    }

    /// A key that begins with "." lies below `prefix`.
    static Fields fields(const std::string &prefix, const std::string &text) {
        Fields result = formData(text);
        for (auto &[key, value] : result)
            key.insert(0, key[0] == '.' ? prefix : "");
        return result;
    }

    Response submit(const std::string &form, const Fields &sent) {
        return post(sent + Fields{{"form", form}, {"apply", "Apply"}}, login());
    }

    void check(const std::string &form, const std::string &prefix, const std::vector<Row> &rows) {
        const std::string factory = configuration();
        for (const Row &row : rows) {
            SCOPED_TRACE(row.name + ": " + row.sent);
            put("/etc/config/config.xml", factory);
            configure(fields(prefix, row.stored));
            const std::string before = configuration();
            const Response response = submit(form, fields(prefix, row.sent));
            EXPECT_EQ(errorsOf(response), row.errors);
            EXPECT_EQ(response.has("Changes to configuration succeeded."), row.errors.empty());
            EXPECT_EQ(configuration() == before, !row.errors.empty());
        }
        put("/etc/config/config.xml", factory);
    }
};

TEST_F(SettingsRules, Authentication) {
    const std::string tacacs = "TACACS+ Authentication and Authorization Server Address must be "
                               "specified|TACACS+ Server Password must be specified";
    const std::string radius = "RADIUS Authentication and Authorization Server Address must be "
                               "specified|RADIUS Server Password must be specified";
    const std::string password = "LDAP Server Password must be specified";
    const std::string ldap = "LDAP Server Address must be specified|" + password;
    const std::string lifetime = "Session lifetime must be between 10 and 1440 minutes";
    const std::string kept = ".radius.password=********&.radius.confirm=********";
    std::vector<Row> rows = {
        {"passwords differ",
         ".tacacs.password=a&.radius.confirm=b&.ldap.password=c&.ldap.confirm=C",
         "TACACS Password does not match confirmation.|RADIUS Password does not match "
         "confirmation.|LDAP Password does not match confirmation."},
        {"stored password kept", ".type=RADIUS&.radius.auth_server=r1,r2&" + kept, "",
         ".radius.password=secret"},
        {"no stored password to keep",
         ".type=LDAP&.ldap.server=l&.ldap.password=********&.ldap.confirm=********", password},
        {"stored password cleared", ".type=LDAP&.ldap.server=l", password, ".ldap.password=secret"},
        {"a method that is none", ".type=<radius>",
         "<i>Authentication Method</i> must be one of the choices. The value "
         "'<i>&lt;radius&gt;</i>' is invalid.|<i>Authentication Method</i> can not contain "
         "markup."},
        {"shortest", ".sessionlifetime=10"},
        {"longest", ".sessionlifetime=1440"},
    };
    for (const std::string minutes : {"9", "1441", "0", "abc", "20 ", "-20", "99999999"})
        rows.push_back({"bad lifetime", ".sessionlifetime=" + minutes, lifetime});
    for (const auto &[type, errors] :
         Fields{{"TACACS", tacacs}, {"RADIUS", radius}, {"LDAP", ldap}})
        for (const std::string &method : {type + "Local", type, "Local" + type, type + "DownLocal"})
            rows.push_back({"needs a server", ".type=" + method, errors});
    expectLog("can not contain markup");
    check("auth", "config.auth", rows);
}

TEST_F(SettingsRules, Services) {
    const std::string certificate =
        "An SSL Local certificate '/etc/config/ssl_cert.pem' and an SSL Private key "
        "'/etc/config/ssl_key.pem' must be installed before enabling HTTPS.";
    const std::string rest = " value must greater than 0. Clear the field to revert to the default "
                             "value.";
    const std::string limit = "The Failed Login Limit" + rest;
    const std::string timeout = "The Lockout Time" + rest;
    const Row https = {"HTTPS", "config.services.https.enabled=on", certificate};
    check("services", "config.bfprotection",
          {{"zero", ".limit=0&.timeout=0", limit + "|" + timeout},
           {"negative", ".limit=-1", limit},
           {"unit", ".timeout=5m", timeout},
           {"cleared", ".limit=&.timeout=1"},
           https});
    put("/etc/config/ssl_cert.pem", "certificate");
    check("services", "", {https});
    put("/etc/config/ssl_key.pem", "key");
    check("services", "", {{"HTTPS with its files", https.sent}});
}

TEST_F(SettingsRules, Interfaces) {
    const std::string rest = " values are required for a statically assigned IP configuration.";
    const std::string needed = "'IP Address' and 'Subnet Mask'" + rest;
    check("ipconfig", "config.interfaces",
          {{"DHCP", ".wan.mode=dhcp"},
           {"static", ".wan.mode=static", needed},
           {"no mask", ".wan.mode=static&.wan.address=10.0.0.1", needed},
           {"whole", ".wan.mode=static&.wan.address=10.0.0.1&.wan.netmask=24"},
           {"LAN", ".lan.mode=static", "'LAN IP Address' and 'LAN Subnet Mask'" + rest},
           {"failover", ".wan.failover.interface=oobfo",
            "'Primary Probe Address' and/or 'Secondary Probe Address' values are required for "
            "failover mode."},
           {"second probe", ".wan.failover.interface=oobfo&.wan.failover.address2=10.0.0.2"}});
}

TEST_F(SettingsRules, DialIn) {
    const std::string local = "Dial-In configuration requires a <i>Local Address</i>";
    const std::string remote = "Dial-In configuration requires a <i>Remote Address</i>";
    const std::string absent = "No such form element: config.port9.ppp.";
    check(
        "dialin", "config.port2.ppp",
        {{"addresses", "port=port2&.enabled=on", local + "|" + remote},
         {"console", "config.console.ppp.enabled=on&config.console.ppp.localip=10.0.0.1", remote},
         {"passwords differ", "port=port2&.password=a&.dialer.confirm=b",
          "Dial-In password does not match confirmation.|Dial-out password does not match "
          "confirmation."},
         {"number", "port=port2&.callback.enabled=on", "Dial-Back requires a Phone Number."},
         {"whole", "port=port2&.enabled=on&.localip=10.0.0.1&.remoteip=10.0.0.2&"
                   ".callback.enabled=on&.callback.phone1=555 1234567"},
         {"no such port", "port=port9&config.port9.ppp.enabled=on",
          "No such port: port9|" + absent + "localip|" + absent + "remoteip"},
         {"no port at all", "port=users.user1<b>&.auth=none", "No such port: users.user1&lt;b&gt;"},
         {"padded number", "port=port02", "No such port: port02"}});
}

TEST_F(SettingsRules, SnmpAgent) {
    const std::string rest = " is required for any Security Level but 'noauth'";
    const std::string needed = "The Read Only Username" + rest + "|The Auth. Password" + rest;
    check("snmp", "config.services.snmp",
          {{"no authentication", ".roseclevel=noauth"},
           {"authentication", ".roseclevel=auth", needed},
           {"privacy", ".roseclevel=priv",
            needed + "|The Privacy Password is required for Security Level 'priv'"},
           {"stored passwords, short as they are",
            ".roseclevel=priv&.rousername=u&.roauthpassword=********&.roauthconfirm=********&"
            ".roprivpassword=********&.roprivconfirm=********",
            "", ".roauthpassword=short&.roprivpassword=short"},
           {"short passwords", ".roauthpassword=1234567&.roprivpassword=1234567",
            "Auth. Password does not match confirmation.|Auth. Password needs to be at least 8 "
            "characters.|Privacy Password does not match confirmation.|Privacy Password needs to "
            "be at least 8 characters."}});
}

TEST_F(SettingsRules, SnmpManagers) {
    const std::string stored = ".community=public";
    const std::string v1 = "SNMPv1 traps require a Community.";
    check(
        "snmp", "config.system.snmp",
        {{"first password", ".authconfirm=12345678", "Auth. Password does not match confirmation."},
         {"second passwords",
          ".authpassword2=12345678&.authconfirm2=12345678&.privpassword2=1234567&"
          ".privconfirm2=1234567",
          "Privacy Password needs to be at least 8 characters."},
         {"version 3", ".version=3", "SNMPv3 traps require a Security Name."},
         {"1 and 2c", ".version=1&.version2=2c", v1 + "|SNMPv2c traps require a Community."},
         {"stored", ".version=1", "", stored},
         {"cleared", ".version=1&.community.delete=on", v1, stored},
         {"replaced", ".version=2c&.community.delete=on&.community=private", "", stored}});
}

TEST_F(SettingsRules, SnmpEngineId) {
    const std::string longest(64, 'a');
    const std::string bad = "SNMPv3 Engine ID must be a hex number";
    std::vector<Row> rows;
    const auto add = [&](const std::string &id, const std::string &errors) {
        rows.push_back(
            {"engine ID",
             "config.services.snmp.engineid=" + id + "&.engineid=" + id + "&.engineid2=" + id,
             errors});
    };
    for (const std::string &id : {std::string("8000000001"), std::string("0x80000000aF"), longest})
        add(id, "");
    for (const std::string &id : {std::string("80000000"), std::string("80000000012"),
                                  std::string("800000000g"), std::string("0x"), longest + "aa"})
        add(id, bad + ".|" + bad + " or left unspecified.|" + bad + " or left unspecified.");
    check("snmp", "config.system.snmp", rows);
}

TEST_F(SettingsRules, Nagios) {
    const auto refused = [](const std::string &value) {
        return "NSCA Interval must be assigned a <i>number of minutes</i>. The value <i>" + value +
               "</i> is invalid.";
    };
    std::vector<Row> rows = {
        {"secrets differ", ".secret=a", "NSCA Secret does not match confirmation."},
        {"markup", ".interval=<b>",
         refused("&lt;b&gt;") + "|<i>NSCA Interval</i> can not contain markup."},
        {"least", ".interval=0"},
        {"more", ".interval=5"},
    };
    for (const std::string value : {"5m", "-1", " 5", "1.5", "99999999999999999999"})
        rows.push_back({"bad interval", ".interval=" + value, refused(value)});
    expectLog("can not contain markup");
    check("nagios", "config.system.nagios.nsca", rows);
}

TEST_F(SettingsRules, Passwords) {
    const std::string mismatch = "Password does not match confirmation.";
    check("smtp", "config.system.smtp",
          {{"other", ".password=a", mismatch}, {"same", ".password=a&.confirm=a"}});
    check("eventlog", "config.eventlog.server",
          {{"none", ".confirm=a", mismatch},
           {"kept", ".password=********&.confirm=********&.type=cifs", "", ".password=secret"}});
    check("systemsettings", "config.system", {{"none", ".confirm=a", mismatch}});
}

TEST_F(SettingsRules, RefusedSubmissionIsShownAgain) {
    const std::string smtp = "config.system.smtp.";
    const Response response =
        submit("smtp", {{smtp + "password", "merlin"}, {smtp + "server", "mail.example.com"}});
    EXPECT_TRUE(response.has("value=\"mail.example.com\""));
    EXPECT_FALSE(response.has("merlin"));
}

TEST_F(SettingsRules, ValueOfAnotherToolStaysOffered) {
    configure("config.system.timezone", "XYZ-1:15");
    EXPECT_TRUE(
        get("form=time", login()).has("<option value=\"XYZ-1:15\" selected>XYZ-1:15</option>"));
    EXPECT_TRUE(submit("time", formData("config.system.timezone=XYZ-1:15&config.ntp.enabled=on"))
                    .has("Changes to configuration succeeded."));
    EXPECT_EQ(stored("config.system.timezone"), "XYZ-1:15");
}

TEST_F(SettingsRules, SectionThatIsNotOfferedKeepsItsKeys) {
    configure("config.auth.pmshell.enabled", "on");
    submit("auth", formData("config.auth.sessionlifetime=30&config.auth.pmshell.enabled="));
    EXPECT_EQ(stored("config.auth.sessionlifetime"), "30");
    EXPECT_EQ(stored("config.auth.pmshell.enabled"), "on");
    EXPECT_FALSE(get("form=auth", login()).has("Additional Port Authentication"));
}

TEST_F(SettingsRules, Clock) {
    configure("config.ntp.servers", "ntp.example.com");
    const std::string before = configuration();
    const std::pair<const char *, const char *> rows[] = {
        {"time.hour=24&time.minute=60", "Invalid Hour specified"},
        {"time.hour=-1", "Invalid Hour specified"},
        {"time.minute=60&time.year=1976", "Invalid Minute specified"},
        {"time.year=1976&time.month=13", "Invalid Year specified"},
        {"time.year=1977&time.month=0", "Invalid Month specified"},
        {"time.year=2030&time.month=2&time.day=32", "Invalid Day specified"},
        // An appliance in a folder has no clock of its own.
        {"time.hour=23&time.minute=59&time.year=2030&time.month=4&time.day=31",
         "Failed to set system time: Operation not permitted"},
    };
    for (const auto &[sent, error] : rows) {
        const Response response = submit("time", formData(sent));
        EXPECT_EQ(errorsOf(response), error) << sent;
        // The other form of the page was not sent: it shows, and keeps, what is stored.
        EXPECT_TRUE(response.has("value=\"ntp.example.com\"")) << sent;
    }
    EXPECT_EQ(configuration(), before);
    EXPECT_NE(log().find("Manually setting time: 01 May 2030 23:59:00"), std::string::npos);

    // Neither a look at the page nor its settings touch the clock.
    EXPECT_EQ(errorsOf(get("form=time&time.hour=24", login())), "");
    EXPECT_EQ(errorsOf(submit("time", {{"config.ntp.servers", "a,b"}})), "");
    EXPECT_EQ(stored("config.ntp.servers"), "a,b");
}

} // namespace
} // namespace zandorin::test
