#include "tests/support/request_test.h"

#include <regex>

#include <gmock/gmock.h>

namespace zandorin::test {
namespace {

/// A submission of a settings page, all the errors it gets, and what is stored
/// before it.
struct Row {
    const char *name;
    const char *form;
    Fields sent;
    std::vector<std::string> errors;
    Fields stored = {};
};

constexpr const char *mismatch = "Password does not match confirmation.";
constexpr const char *lifetime = "Session lifetime must be between 10 and 1440 minutes";
constexpr const char *auth_length = "Auth. Password needs to be at least 8 characters.";
constexpr const char *privacy_length = "Privacy Password needs to be at least 8 characters.";
constexpr const char *auth_mismatch = "Auth. Password does not match confirmation.";
constexpr const char *privacy_mismatch = "Privacy Password does not match confirmation.";
constexpr const char *agent_engine = "SNMPv3 Engine ID must be a hex number.";
constexpr const char *manager_engine = "SNMPv3 Engine ID must be a hex number or left unspecified.";
constexpr const char *stars = "********";

std::string greaterThanZero(const std::string &setting) {
    return "The " + setting +
           " value must greater than 0. Clear the field to revert to the default value.";
}

std::string badInterval(const std::string &value) {
    return "NSCA Interval must be assigned a <i>number of minutes</i>. The value <i>" + value +
           "</i> is invalid.";
}

class SettingsRules : public RequestTest {
  protected:
    SettingsRules() { put("/var/run/snmpd/snmpapp.conf", "oldEngineID 0x8000\n"); }

    static std::vector<std::string> errorsOf(const Response &response) {
        static const std::regex error("class=\"error-message\"><font[^>]*><b>Error</b></font> "
                                      "(.*?)</p>");
        std::vector<std::string> errors;
        for (std::sregex_iterator match(response.body.begin(), response.body.end(), error), end;
             match != end; ++match)
            errors.push_back((*match)[1]);
        return errors;
    }

    Response submit(const std::string &form, Fields sent) {
        sent.emplace_back("form", form);
        sent.emplace_back("apply", "Apply");
        return post(sent, login());
    }

    void check(const std::vector<Row> &rows) {
        const std::string factory = read("/etc/config/config.xml");
        for (const Row &row : rows) {
            SCOPED_TRACE(row.name);
            put("/etc/config/config.xml", factory);
            for (const auto &[key, value] : row.stored)
                configure(key, value);
            const std::string before = read("/etc/config/config.xml");
            const Response response = submit(row.form, row.sent);
            EXPECT_EQ(errorsOf(response), row.errors);
            EXPECT_EQ(response.has("Changes to configuration succeeded."), row.errors.empty());
            EXPECT_EQ(read("/etc/config/config.xml") == before, !row.errors.empty());
        }
    }
};

TEST_F(SettingsRules, Authentication) {
    const auto server = [](const char *name) {
        return std::string(name) + " Server Address must be specified";
    };
    const auto authServer = [](const char *name) {
        return std::string(name) + " Authentication and Authorization Server Address must be "
                                   "specified";
    };
    const auto password = [](const char *name) {
        return std::string(name) + " Server Password must be specified";
    };
    std::vector<Row> rows = {
        {"passwords differ",
         "auth",
         {{"config.auth.tacacs.password", "a"},
          {"config.auth.radius.confirm", "b"},
          {"config.auth.ldap.password", "c"},
          {"config.auth.ldap.confirm", "C"}},
         {"TACACS Password does not match confirmation.",
          "RADIUS Password does not match confirmation.",
          "LDAP Password does not match confirmation."}},
        {"stored password kept",
         "auth",
         {{"config.auth.type", "RADIUS"},
          {"config.auth.radius.auth_server", "r1,r2"},
          {"config.auth.radius.password", stars},
          {"config.auth.radius.confirm", stars}},
         {},
         {{"config.auth.radius.password", "secret"}}},
        {"no stored password to keep",
         "auth",
         {{"config.auth.type", "LDAP"},
          {"config.auth.ldap.server", "l"},
          {"config.auth.ldap.password", stars},
          {"config.auth.ldap.confirm", stars}},
         {password("LDAP")}},
        {"stored password cleared",
         "auth",
         {{"config.auth.type", "LDAP"}, {"config.auth.ldap.server", "l"}},
         {password("LDAP")},
         {{"config.auth.ldap.password", "secret"}}},
        {"a method that is none",
         "auth",
         {{"config.auth.type", "<radius>"}},
         {"<i>Authentication Method</i> must be one of the choices. The value "
          "'<i>&lt;radius&gt;</i>' is invalid.",
          "<i>Authentication Method</i> can not contain markup."}},
    };
    for (const char *value : {"9", "1441", "0", "abc", "20 ", "-20", "99999999"})
        rows.push_back({value, "auth", {{"config.auth.sessionlifetime", value}}, {lifetime}});
    for (const char *value : {"10", "1440"})
        rows.push_back({value, "auth", {{"config.auth.sessionlifetime", value}}, {}});
    for (const char *type : {"LocalTACACS", "TACACS", "TACACSLocal", "TACACSDownLocal"})
        rows.push_back({type,
                        "auth",
                        {{"config.auth.type", type}},
                        {authServer("TACACS+"), password("TACACS+")}});
    for (const char *type : {"LocalRADIUS", "RADIUS", "RADIUSLocal", "RADIUSDownLocal"})
        rows.push_back({type,
                        "auth",
                        {{"config.auth.type", type}},
                        {authServer("RADIUS"), password("RADIUS")}});
    for (const char *type : {"LocalLDAP", "LDAP", "LDAPLocal", "LDAPDownLocal"})
        rows.push_back(
            {type, "auth", {{"config.auth.type", type}}, {server("LDAP"), password("LDAP")}});
    expectLog("can not contain markup");
    check(rows);
}

TEST_F(SettingsRules, Services) {
    constexpr const char *limit = "config.bfprotection.limit";
    constexpr const char *timeout = "config.bfprotection.timeout";
    const std::string certificate =
        "An SSL Local certificate '/etc/config/ssl_cert.pem' and an SSL Private key "
        "'/etc/config/ssl_key.pem' must be installed before enabling HTTPS.";
    check({
        {"zero",
         "services",
         {{limit, "0"}, {timeout, "0"}},
         {greaterThanZero("Failed Login Limit"), greaterThanZero("Lockout Time")}},
        {"negative", "services", {{limit, "-1"}}, {greaterThanZero("Failed Login Limit")}},
        {"unit", "services", {{timeout, "5m"}}, {greaterThanZero("Lockout Time")}},
        {"cleared", "services", {{limit, ""}, {timeout, "1"}}, {}},
        {"no certificate", "services", {{"config.services.https.enabled", "on"}}, {certificate}},
    });
    put("/etc/config/ssl_cert.pem", "certificate");
    check({{"no key", "services", {{"config.services.https.enabled", "on"}}, {certificate}}});
    put("/etc/config/ssl_key.pem", "key");
    check({{"both", "services", {{"config.services.https.enabled", "on"}}, {}}});
}

TEST_F(SettingsRules, Interfaces) {
    const auto required = [](const char *address, const char *netmask) {
        return "'" + std::string(address) + "' and '" + netmask +
               "' values are required for a statically assigned IP configuration.";
    };
    constexpr const char *mode = "config.interfaces.wan.mode";
    constexpr const char *address = "config.interfaces.wan.address";
    constexpr const char *failover = "config.interfaces.wan.failover.interface";
    check({
        {"DHCP", "ipconfig", {{mode, "dhcp"}}, {}},
        {"static", "ipconfig", {{mode, "static"}}, {required("IP Address", "Subnet Mask")}},
        {"no mask",
         "ipconfig",
         {{mode, "static"}, {address, "10.0.0.1"}},
         {required("IP Address", "Subnet Mask")}},
        {"whole",
         "ipconfig",
         {{mode, "static"}, {address, "10.0.0.1"}, {"config.interfaces.wan.netmask", "24"}},
         {}},
        {"static LAN",
         "ipconfig",
         {{"config.interfaces.lan.mode", "static"}},
         {required("LAN IP Address", "LAN Subnet Mask")}},
        {"failover",
         "ipconfig",
         {{failover, "oobfo"}},
         {"'Primary Probe Address' and/or 'Secondary Probe Address' values are required for "
          "failover mode."}},
        {"second probe",
         "ipconfig",
         {{failover, "oobfo"}, {"config.interfaces.wan.failover.address2", "10.0.0.2"}},
         {}},
    });
}

TEST_F(SettingsRules, DialIn) {
    const std::string ppp = "config.port2.ppp.";
    const auto addressMissing = [](const char *label) {
        return "Dial-In configuration requires a <i>" + std::string(label) + "</i>";
    };
    check({
        {"addresses",
         "dialin",
         {{"port", "port2"}, {ppp + "enabled", "on"}},
         {addressMissing("Local Address"), addressMissing("Remote Address")}},
        {"console",
         "dialin",
         {{"config.console.ppp.enabled", "on"}, {"config.console.ppp.localip", "10.0.0.1"}},
         {addressMissing("Remote Address")}},
        {"passwords differ",
         "dialin",
         {{"port", "port2"}, {ppp + "password", "a"}, {ppp + "dialer.confirm", "b"}},
         {"Dial-In password does not match confirmation.",
          "Dial-out password does not match confirmation."}},
        {"phone number",
         "dialin",
         {{"port", "port2"}, {ppp + "callback.enabled", "on"}},
         {"Dial-Back requires a Phone Number."}},
        {"whole",
         "dialin",
         {{"port", "port2"},
          {ppp + "enabled", "on"},
          {ppp + "localip", "10.0.0.1"},
          {ppp + "remoteip", "10.0.0.2"},
          {ppp + "callback.enabled", "on"},
          {ppp + "callback.phone1", "555 1234567"}},
         {}},
        {"no such port",
         "dialin",
         {{"port", "port9"}, {"config.port9.ppp.enabled", "on"}},
         {"No such port: port9", "No such form element: config.port9.ppp.localip",
          "No such form element: config.port9.ppp.remoteip"}},
        {"no port at all",
         "dialin",
         {{"port", "users.user1<b>"}, {ppp + "auth", "none"}},
         {"No such port: users.user1&lt;b&gt;"}},
        {"padded number", "dialin", {{"port", "port02"}}, {"No such port: port02"}},
    });
}

TEST_F(SettingsRules, Snmp) {
    const std::string agent = "config.services.snmp.";
    const std::string manager = "config.system.snmp.";
    const std::string user = "The Read Only Username is required for any Security Level but "
                             "'noauth'";
    const std::string auth = "The Auth. Password is required for any Security Level but 'noauth'";
    const std::string privacy = "The Privacy Password is required for Security Level 'priv'";
    std::vector<Row> rows = {
        {"no authentication", "snmp", {{agent + "roseclevel", "noauth"}}, {}},
        {"authentication", "snmp", {{agent + "roseclevel", "auth"}}, {user, auth}},
        {"privacy", "snmp", {{agent + "roseclevel", "priv"}}, {user, auth, privacy}},
        {"privacy with stored passwords",
         "snmp",
         {{agent + "roseclevel", "priv"},
          {agent + "rousername", "u"},
          {agent + "roauthpassword", stars},
          {agent + "roauthconfirm", stars},
          {agent + "roprivpassword", stars},
          {agent + "roprivconfirm", stars}},
         {},
         {{agent + "roauthpassword", "short"}, {agent + "roprivpassword", "short"}}},
        {"the agent's passwords",
         "snmp",
         {{agent + "roauthpassword", "1234567"}, {agent + "roprivpassword", "1234567"}},
         {auth_mismatch, auth_length, privacy_mismatch, privacy_length}},
        {"the second manager's passwords",
         "snmp",
         {{manager + "authpassword2", "12345678"},
          {manager + "authconfirm2", "12345678"},
          {manager + "privpassword2", "1234567"},
          {manager + "privconfirm2", "1234567"}},
         {privacy_length}},
        {"the first manager's", "snmp", {{manager + "authconfirm", "12345678"}}, {auth_mismatch}},
        {"version 3",
         "snmp",
         {{manager + "version", "3"}},
         {"SNMPv3 traps require a Security Name."}},
        {"versions 1 and 2c",
         "snmp",
         {{manager + "version", "1"}, {manager + "version2", "2c"}},
         {"SNMPv1 traps require a Community.", "SNMPv2c traps require a Community."}},
        {"stored community",
         "snmp",
         {{manager + "version", "1"}},
         {},
         {{manager + "community", "public"}}},
        {"stored community cleared",
         "snmp",
         {{manager + "version", "1"}, {manager + "community.delete", "on"}},
         {"SNMPv1 traps require a Community."},
         {{manager + "community", "public"}}},
        {"community cleared and given",
         "snmp",
         {{manager + "version", "2c"},
          {manager + "community.delete", "on"},
          {manager + "community", "private"}},
         {},
         {{manager + "community", "public"}}},
    };
    const std::string longest(64, 'a');
    for (const std::string &id : {std::string("8000000001"), std::string("0x80000000aF"), longest})
        rows.push_back({"good engine ID",
                        "snmp",
                        {{agent + "engineid", id}, {manager + "engineid2", id}},
                        {}});
    for (const std::string &id : {std::string("80000000"), std::string("80000000012"),
                                  std::string("800000000g"), std::string("0x"), longest + "aa"})
        rows.push_back({"bad engine ID",
                        "snmp",
                        {{agent + "engineid", id}, {manager + "engineid", id}},
                        {agent_engine, manager_engine}});
    check(rows);
}

TEST_F(SettingsRules, Nagios) {
    constexpr const char *interval = "config.system.nagios.nsca.interval";
    std::vector<Row> rows = {
        {"secrets differ",
         "nagios",
         {{"config.system.nagios.nsca.secret", "a"}},
         {"NSCA Secret does not match confirmation."}},
        {"markup",
         "nagios",
         {{interval, "<b>"}},
         {badInterval("&lt;b&gt;"), "<i>NSCA Interval</i> can not contain markup."}},
    };
    for (const char *value : {"5m", "-1", " 5", "1.5", "99999999999999999999"})
        rows.push_back({value, "nagios", {{interval, value}}, {badInterval(value)}});
    for (const char *value : {"0", "5"})
        rows.push_back({value, "nagios", {{interval, value}}, {}});
    expectLog("can not contain markup");
    check(rows);
}

TEST_F(SettingsRules, Passwords) {
    check({
        {"SMTP", "smtp", {{"config.system.smtp.password", "a"}}, {mismatch}},
        {"SMTP, same",
         "smtp",
         {{"config.system.smtp.password", "a"}, {"config.system.smtp.confirm", "a"}},
         {}},
        {"event log", "eventlog", {{"config.eventlog.server.confirm", "a"}}, {mismatch}},
        {"event log, stored one kept",
         "eventlog",
         {{"config.eventlog.server.password", stars},
          {"config.eventlog.server.confirm", stars},
          {"config.eventlog.server.type", "cifs"}},
         {},
         {{"config.eventlog.server.password", "secret"}}},
        {"system", "systemsettings", {{"config.system.confirm", "a"}}, {mismatch}},
    });
}

TEST_F(SettingsRules, RefusedSubmissionIsShownAgain) {
    const Response response = submit("smtp", {{"config.system.smtp.password", "merlin"},
                                              {"config.system.smtp.server", "mail.example.com"}});
    EXPECT_TRUE(response.has("value=\"mail.example.com\""));
    EXPECT_FALSE(response.has("merlin"));
}

TEST_F(SettingsRules, ValueOfAnotherToolStaysOffered) {
    configure("config.system.timezone", "XYZ-1:15");
    EXPECT_TRUE(
        get("form=time", login()).has("<option value=\"XYZ-1:15\" selected>XYZ-1:15</option>"));
    EXPECT_TRUE(
        submit("time", {{"config.system.timezone", "XYZ-1:15"}, {"config.ntp.enabled", "on"}})
            .has("Changes to configuration succeeded."));
    EXPECT_EQ(stored("config.system.timezone"), "XYZ-1:15");
}

TEST_F(SettingsRules, SectionThatIsNotOfferedKeepsItsKeys) {
    configure("config.auth.pmshell.enabled", "on");
    submit("auth", {{"config.auth.sessionlifetime", "30"}, {"config.auth.pmshell.enabled", ""}});
    EXPECT_EQ(stored("config.auth.sessionlifetime"), "30");
    EXPECT_EQ(stored("config.auth.pmshell.enabled"), "on");
    EXPECT_FALSE(get("form=auth", login()).has("Additional Port Authentication"));
}

TEST_F(SettingsRules, Clock) {
    configure("config.ntp.servers", "ntp.example.com");
    const std::string before = read("/etc/config/config.xml");
    const struct {
        const char *name;
        Fields sent;
        const char *error;
    } rows[] = {
        {"hour", {{"time.hour", "24"}, {"time.minute", "60"}}, "Invalid Hour specified"},
        {"negative hour", {{"time.hour", "-1"}}, "Invalid Hour specified"},
        {"minute", {{"time.minute", "60"}, {"time.year", "1976"}}, "Invalid Minute specified"},
        {"year", {{"time.year", "1976"}, {"time.month", "13"}}, "Invalid Year specified"},
        {"month", {{"time.year", "1977"}, {"time.month", "0"}}, "Invalid Month specified"},
        {"day",
         {{"time.year", "2030"}, {"time.month", "2"}, {"time.day", "32"}},
         "Invalid Day specified"},
        // An appliance in a folder has no clock of its own.
        {"accepted",
         {{"time.hour", "23"},
          {"time.minute", "59"},
          {"time.year", "2030"},
          {"time.month", "4"},
          {"time.day", "31"}},
         "Failed to set system time: Operation not permitted"},
    };
    for (const auto &row : rows) {
        const Response response = submit("time", row.sent);
        EXPECT_EQ(errorsOf(response), std::vector<std::string>{row.error}) << row.name;
        // The other form of the page was not sent: it shows, and keeps, what is stored.
        EXPECT_TRUE(response.has("value=\"ntp.example.com\"")) << row.name;
    }
    EXPECT_EQ(read("/etc/config/config.xml"), before);
    EXPECT_NE(log().find("Manually setting time: 01 May 2030 23:59:00"), std::string::npos);

    // Neither a look at the page nor its settings touch the clock.
    EXPECT_THAT(errorsOf(get("form=time&time.hour=24", login())), ::testing::IsEmpty());
    EXPECT_THAT(errorsOf(submit("time", {{"config.ntp.servers", "a,b"}})), ::testing::IsEmpty());
    EXPECT_EQ(stored("config.ntp.servers"), "a,b");
}

} // namespace
} // namespace zandorin::test
