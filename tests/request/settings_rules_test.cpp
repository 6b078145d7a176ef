#include "tests/request/users_page.h"
#include "tests/support/pages.h"

namespace zandorin::test {
namespace {

/// A submission, all the errors it gets, joined by "|", and what is stored before it. Submitted
/// and stored are formData(), the keys without what the page's have in common.
struct Row {
    std::string sent;
    std::string errors = "";
    std::string stored = "";
};

class SettingsRules : public Users {
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
        return post(sent + Fields{{"form", form}, {"apply", "Apply"}});
    }

    void check(const std::string &form, const std::string &prefix, const std::vector<Row> &rows) {
        const std::string factory = configuration();
        const std::string accounts = read(passwd) + read(group_file);
        for (const Row &row : rows) {
            SCOPED_TRACE(row.sent);
            put(config_file, factory);
            configure(fields(prefix, row.stored));
            const std::string before = configuration();
            const Response response = submit(form, fields(prefix, row.sent));
            EXPECT_EQ(response.boxes(), row.errors);
            EXPECT_EQ(response.has("Changes to configuration succeeded."), row.errors.empty());
            EXPECT_EQ(configuration() == before, !row.errors.empty());
            if (row.errors.empty())
                continue;
            EXPECT_EQ(read(passwd) + read(group_file), accounts);
            for (const PageField &shown : readFields(response.body))
                for (const auto &[name, value] : fields(prefix, row.sent))
                    if (name == shown.name && (shown.kind == "text" || shown.kind == "textarea")) {
                        EXPECT_EQ(shown.value, value.substr(0, 255)) << name << " is lost";
                        break; // of two the first is sent
                    }
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

TEST_F(SettingsRules, UsersAndGroups) {
    addTwo();
    put(passwd, read(passwd) + "www:*:33:33::/var/www:/bin/false\n");
    expectLog("can not contain markup.");
    const std::string edit = "&.username=ann&.password=********&.confirm=********&action=edit&"
                             "type=user&index=1&opened=ann";
    const std::string one = key_one;
    const std::string letters =
        "<i>Username</i> can only hold letters, digits, \".\", \"_\", \"-\" "
        "and \"@\", and begins with a letter or digit.";
    const std::string no_name =
        "<i>Username</i> must be assigned a <i>User Name</i>. The value '<i>";
    const std::string no_number = "must be assigned a <i>Phone Number</i>. The value '<i>call "
                                  "me</i>' is invalid.";
    check("users", "config.users.user1",
          {{".username=ann\nevil::0:0:::/bin/sh" + edit,
            letters + "|" + no_name + "ann&#x0a;evil::0:0:::/bin/sh</i>' is invalid."},
           {".description=a:b" + edit,
            "<i>Description</i> can not contain \":\" or control characters."},
           {"group.dialin=on" + edit,
            "When initially adding users to one of the following groups: dialin, pptpd, the user's "
            "password must be respecified."},
           {".callback.phone=call me" + edit, "<i>Dial-Back Phone Number</i> " + no_number},
           {".ssh_auth_keys=" + one + "\nnonsense" + edit,
            "<i>SSH Authorized Keys, line 2</i> must be assigned a <i>SSH Authentication Key</i>. "
            "The value '<i>nonsense</i>' is invalid."},
           {".ssh_auth_keys=" + one + "\rx" + edit,
            "<i>SSH Authorized Keys, line 1</i> can not contain control characters."},
           {"action=delete&type=user&index=3&opened=root", "The root user can not be deleted.",
            "config.users.user3.username=root&config.users.total=3"}});
    const std::string add = "&.password=p&.confirm=p&action=add&type=user&index=3";
    check(
        "users", "config.users.user3",
        {{".username=a@b.org,c@d.org" + add, letters},
         {".username=www" + add, "The account 'www' belongs to the system."},
         {".username=root" + add, "The account 'root' belongs to the system."},
         {".username=anna" + add, "There is a user 'anna' already."},
         {".password=********&.confirm=********&.username=joe" + add,
          "Password cannot be empty when using <i>Local File</i> authentication for user: 'joe'"},
         {".confirm=x&.username=<b>" + add, letters + "|Password mismatch for user: '&lt;b&gt;'|" +
                                                no_name + "&lt;b&gt;</i>' is invalid."}});
    check("users", "config.groups.group7",
          {{".name=a\nroot:x:0:&action=add&type=group&index=7",
            "<i>Group Name</i> must be assigned a <i>Posix Group Name</i>. The value "
            "'<i>a&#x0a;root:x:0:</i>' is invalid."},
           {".name=netgrp&action=add&type=group&index=7", "There is a group 'netgrp' already."}});
    check("users", "config.groups.group1",
          {{".name=boss&action=edit&type=group&index=1&opened=admin",
            "The group 'admin' is built in and can not be renamed."},
           {"action=delete&type=group&index=1&opened=admin",
            "The group 'admin' is built in and can not be deleted."}});
}

TEST_F(SettingsRules, AutoResponses) {
    expectLog("can not contain markup");
    configure(formData("config.autoresponse.total=1&config.autoresponse.autoresponse1.name=first&"
                       "config.autoresponse.autoresponse1.check_type=webui_login"));
    const std::string apply = "&.repeat_timeout=77&action=apply&index=0";
    check("autoresponse", "config.autoresponse.new",
          {{".name=rule&.check_type=cli_login" + apply},
           {".name=rule&.check_type=sms" + apply, "No Check type selected"},
           {".name= &.check_type=cli_login" + apply, "Please give the auto-response a name."},
           {".name=first&.check_type=cli_login" + apply,
            "There is an auto-response 'first' already."},
           {".name=a<b>&.check_type=cli_login" + apply, "<i>Name</i> can not contain markup."},
           {".name=rule&.check_type=net_ping&.net.ping.address=a_b" + apply,
            "<i>Address to Ping</i> must be assigned a <i>Network Address</i>. The value "
            "'<i>a_b</i>' is invalid."},
           {".name=rule&.check_type=net_ping&.net.ping.frequency=2147483648" + apply,
            "<i>Check Frequency (seconds)</i> may be at most 2147483647."},
           {".name=rule&.check_type=cli_login&.time_monday_from_hour=24" + apply,
            "<i>Monday from, hour</i> may be at most 23.|<i>Monday</i> needs the hours from and "
            "to, or neither."},
           {"action=apply&config.autoresponse.boot_delay=soon",
            "<i>Delay after Boot (seconds)</i> may be at most 2147483647.|<i>Delay after Boot "
            "(seconds)</i> must be assigned a <i>Non-negative Integer</i>. The value '<i>soon</i>' "
            "is invalid."}});
}

TEST_F(SettingsRules, TimeServers) {
    expectLog("can not contain markup");
    configure("config.ntp.servers", "a.example");
    const std::string add = "&.kind=server&action=add&type=server&index=2";
    check("time", "config.ntp.servers.server2",
          {{".address=<d>" + add, "<i>Address</i> must be assigned a <i>Network Address</i>. The "
                                  "value '<i>&lt;d&gt;</i>' is invalid."},
           {".address=a.example" + add, "There is a server 'a.example' already."},
           {".address=" + std::string(256, 'd') + add,
            "<i>Address</i> can not be longer than 255 bytes."}});
}

TEST_F(SettingsRules, WhatThePageDoesNotOfferIsKept) {
    configure(formData("config.system.timezone=XYZ-1:15&config.auth.pmshell.enabled=on"));
    EXPECT_TRUE(get("form=time").has("<option value=\"XYZ-1:15\" selected>XYZ-1:15</option>"));
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
    EXPECT_EQ(get("form=time&time.hour=24").boxes(), "");
    EXPECT_EQ(submit("time", {{"config.ntp.enabled", "on"}}).boxes(), "");
    EXPECT_EQ(stored("config.ntp.enabled"), "on");
}

} // namespace
} // namespace zandorin::test
