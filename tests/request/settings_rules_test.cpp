#include "tests/support/request_test.h"

namespace zandorin::test {
namespace {

/// A submission, all the errors it gets, joined by "|", and what is stored before it. Submitted
/// and stored are formData(), the keys without what the page's have in common.
struct Row {
    std::string sent;
    std::string errors = "";
    std::string stored = "";
};

class SettingsRules : public RequestTest {
  protected:
    SettingsRules() { put("/var/run/snmpd/snmpapp.conf", "oldEngineID 0x8000\n"); }

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
            SCOPED_TRACE(row.sent);
            put(config_file, factory);
            configure(fields(prefix, row.stored));
            const std::string before = configuration();
            const Response response = submit(form, fields(prefix, row.sent));
            EXPECT_EQ(response.boxes(), row.errors);
            EXPECT_EQ(response.has("Changes to configuration succeeded."), row.errors.empty());
            EXPECT_EQ(configuration() == before, !row.errors.empty());
        }
        put(config_file, factory);
    }
};

TEST_F(SettingsRules, Authentication) {
    const std::string password = "LDAP Server Password must be specified";
    const std::string lifetime = "Session lifetime must be between 10 and 1440 minutes";
    std::vector<Row> rows = {
        {".tacacs.password=a&.radius.confirm=b&.ldap.password=c&.ldap.confirm=C",
         "TACACS Password does not match confirmation.|RADIUS Password does not match "
         "confirmation.|LDAP Password does not match confirmation."},
        {".type=RADIUS&.radius.auth_server=r1,r2&.radius.password=********&"
         ".radius.confirm=********",
         "", ".radius.password=secret"},
        {".type=LDAP&.ldap.server=l&.ldap.password=********&.ldap.confirm=********", password},
        {".type=LDAP&.ldap.server=l", password, ".ldap.password=secret"},
        {".type=<radius>", "<i>Authentication Method</i> must be one of the choices. The value "
                           "'<i>&lt;radius&gt;</i>' is invalid.|<i>Authentication Method</i> can "
                           "not contain markup."},
        {".sessionlifetime=10"},
        {".sessionlifetime=1440"},
    };
    for (const std::string minutes : {"9", "1441", "20 "})
        rows.push_back({".sessionlifetime=" + minutes, lifetime});
    for (const std::string type : {"LDAP", "LDAPLocal", "LocalLDAP", "LDAPDownLocal"})
        rows.push_back({".type=" + type, "LDAP Server Address must be specified|" + password});
    for (const std::string type : {"TACACS+", "RADIUS"})
        rows.push_back({".type=" + type.substr(0, 6),
                        type +
                            " Authentication and Authorization Server Address must be "
                            "specified|" +
                            type + " Server Password must be specified"});
    expectLog("can not contain markup");
    check("auth", "config.auth", rows);
}

TEST_F(SettingsRules, Services) {
    const std::string rest = " value must greater than 0. Clear the field to revert to the default "
                             "value.";
    const std::string limit = "The Failed Login Limit" + rest;
    const std::string timeout = "The Lockout Time" + rest;
    const Row https = {"config.services.https.enabled=on",
                       "An SSL Local certificate '/etc/config/ssl_cert.pem' and an SSL Private key "
                       "'/etc/config/ssl_key.pem' must be installed before enabling HTTPS."};
    check("services", "config.bfprotection",
          {{".limit=0&.timeout=-1", limit + "|" + timeout},
           {".timeout=5m", timeout},
           {".limit=&.timeout=1"}});
    put("/etc/config/ssl_cert.pem", "certificate");
    check("services", "", {https});
}

TEST_F(SettingsRules, Interfaces) {
    const std::string rest = " values are required for a statically assigned IP configuration.";
    check("ipconfig", "config.interfaces",
          {{".wan.mode=dhcp"},
           {".wan.mode=static&.wan.address=10.0.0.1", "'IP Address' and 'Subnet Mask'" + rest},
           {".wan.mode=static&.wan.address=10.0.0.1&.wan.netmask=24"},
           {".lan.mode=static", "'LAN IP Address' and 'LAN Subnet Mask'" + rest},
           {".wan.failover.interface=oobfo",
            "'Primary Probe Address' and/or 'Secondary Probe Address' values are required for "
            "failover mode."},
           {".wan.failover.interface=oobfo&.wan.failover.address2=10.0.0.2"}});
}

TEST_F(SettingsRules, DialIn) {
    const std::string remote = "Dial-In configuration requires a <i>Remote Address</i>";
    const std::string absent = "No such form element: config.port9.ppp.";
    check("dialin", "config.port2.ppp",
          {{"port=port2&.enabled=on",
            "Dial-In configuration requires a <i>Local Address</i>|" + remote},
           {"config.console.ppp.enabled=on&config.console.ppp.localip=10.0.0.1", remote},
           {"port=port2&.password=a&.dialer.confirm=b&.callback.enabled=on",
            "Dial-In password does not match confirmation.|Dial-Back requires a Phone "
            "Number.|Dial-out password does not match confirmation."},
           {"port=port9&config.port9.ppp.enabled=on",
            "No such port: port9|" + absent + "localip|" + absent + "remoteip"},
           {"port=users.user1<b>&.auth=none", "No such port: users.user1&lt;b&gt;"},
           {"port=port02", "No such port: port02"}});
}

TEST_F(SettingsRules, Snmp) {
    const std::string rest = " is required for any Security Level but 'noauth'";
    const std::string needed = "The Read Only Username" + rest + "|The Auth. Password" + rest;
    check("snmp", "config.services.snmp",
          {{".roseclevel=noauth"},
           {".roseclevel=auth", needed},
           {".roseclevel=priv",
            needed + "|The Privacy Password is required for Security Level 'priv'"},
           // Stored ones are kept, short as they are.
           {".roseclevel=priv&.rousername=u&.roauthpassword=********&.roauthconfirm=********&"
            ".roprivpassword=********&.roprivconfirm=********",
            "", ".roauthpassword=short&.roprivpassword=short"},
           {".roauthpassword=1234567",
            "Auth. Password does not match confirmation.|Auth. Password needs to be at least 8 "
            "characters."}});
    const std::string stored = ".community=public";
    const std::string v1 = "SNMPv1 traps require a Community.";
    std::vector<Row> rows = {
        {".authpassword2=12345678&.authconfirm2=12345678&.privpassword2=1234567&"
         ".privconfirm2=1234567",
         "Privacy Password needs to be at least 8 characters."},
        {".version=3", "SNMPv3 traps require a Security Name."},
        {".version=1&.version2=2c", v1 + "|SNMPv2c traps require a Community."},
        {".version=1", "", stored},
        {".version=1&.community.delete=on", v1, stored},
        {".version=2c&.community.delete=on&.community=private", "", stored}};
    const std::string digits(64, 'a');
    const std::string bad = "SNMPv3 Engine ID must be a hex number";
    for (const std::string &id :
         {std::string("8000000001"), "0x80000000aF" + digits.substr(10), digits})
        rows.push_back({".engineid=" + id});
    for (const std::string &id : {std::string("80000000"), std::string("80000000012"),
                                  std::string("800000000g"), digits + "aa"})
        rows.push_back({"config.services.snmp.engineid=" + id + "&.engineid2=" + id,
                        bad + ".|" + bad + " or left unspecified."});
    check("snmp", "config.system.snmp", rows);
}

TEST_F(SettingsRules, Others) {
    const std::string mismatch = "Password does not match confirmation.";
    const auto refused = [](const std::string &value) {
        return "NSCA Interval must be assigned a <i>number of minutes</i>. The value <i>" + value +
               "</i> is invalid.";
    };
    expectLog("can not contain markup");
    check(
        "nagios", "config.system.nagios.nsca",
        {{".secret=a", "NSCA Secret does not match confirmation."},
         {".interval=<b>", refused("&lt;b&gt;") + "|<i>NSCA Interval</i> can not contain markup."},
         {".interval=0"},
         {".interval=5m", refused("5m")},
         {".interval=-1", refused("-1")}});
    check("smtp", "config.system.smtp", {{".password=a", mismatch}, {".password=a&.confirm=a"}});
    check("eventlog", "config.eventlog.server",
          {{".confirm=a", mismatch},
           {".password=********&.confirm=********&.type=cifs", "", ".password=secret"}});
    check("systemsettings", "config.system", {{".confirm=a", mismatch}});
}

TEST_F(SettingsRules, WhatThePageDoesNotOfferIsKept) {
    configure(formData("config.system.timezone=XYZ-1:15&config.auth.pmshell.enabled=on"));
    EXPECT_TRUE(
        get("form=time", login()).has("<option value=\"XYZ-1:15\" selected>XYZ-1:15</option>"));
    submit("time", formData("config.system.timezone=XYZ-1:15&config.ntp.enabled=on"));
    EXPECT_EQ(stored("config.ntp.enabled") + stored("config.system.timezone"), "onXYZ-1:15");
    submit("auth", formData("config.auth.sessionlifetime=30&config.auth.pmshell.enabled="));
    EXPECT_EQ(stored("config.auth.sessionlifetime") + stored("config.auth.pmshell.enabled"),
              "30on");
}

TEST_F(SettingsRules, Clock) {
    configure("config.ntp.servers", "ntp.example.com");
    const std::string before = configuration();
    const std::pair<const char *, const char *> rows[] = {
        {"time.hour=24&time.minute=60", "Invalid Hour specified"},
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
        EXPECT_EQ(response.boxes(), error) << sent;
        // The other form of the page was not sent: it shows, and keeps, what is stored.
        EXPECT_TRUE(response.has("ntp.example.com")) << sent;
    }
    EXPECT_EQ(configuration(), before);
    EXPECT_NE(log().find("Manually setting time: 01 May 2030 23:59:00"), std::string::npos);

    // Neither a look at the page nor its settings touch the clock.
    EXPECT_EQ(get("form=time&time.hour=24", login()).boxes(), "");
    EXPECT_EQ(submit("time", {{"config.ntp.enabled", "on"}}).boxes(), "");
    EXPECT_EQ(stored("config.ntp.enabled"), "on");
}

} // namespace
} // namespace zandorin::test
