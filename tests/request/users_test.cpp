#include "tests/request/users_page.h"
#include "util/files.h"

#include <chrono>
#include <filesystem>
#include <future>

namespace zandorin::test {
namespace {

namespace fs = std::filesystem;

TEST_F(Users, EveryFieldOfAUserIsSavedAndTakenAway) {
    configure("config.power.outlets.outlet1.label", "Rack <1>");
    expectLog("<i>Description</i> can not contain markup.");
    Response page = get("form=users", login());
    EXPECT_TRUE(page.has("No users currently configured."));
    const std::string key = "config.users.user1";
    const std::string keys = std::string(key_one) + "\r\n\r\n# a comment\r\n" + key_two + "\r\n";
    Fields fields = Fields{{key + ".description", "Ann & Co"}, {key + ".ssh_auth_keys", keys}} +
                    formData("group.admin=on&group.pmshell=on&group.made-up=on");
    for (const auto &[field, text] :
         formData(".ssh_pubkey_only=on&.password_nvflash=on&.dashboard=night-shift&.port3=on&"
                  ".callback.enabled=on&.callback.phone=+43.1.5551234&.power.outlet1=on"))
        fields.emplace_back(key + field, text);
    page = post(userFields(1, "", "ann", "s:e'c\"ret", fields), login());
    ASSERT_FALSE(saved(page));
    EXPECT_EQ(page.lacks({"<i>Description</i> can not contain markup.", "value=\"Ann &amp; Co\"",
                          "value=\"night-shift\"", "Nothing was saved. Type the password again."}),
              "");
    EXPECT_FALSE(page.has("ecret")) << "nothing typed is lost but passwords";

    fields[0].second = "Ann of ops";
    ASSERT_TRUE(saved(post(userFields(1, "", "ann", "s:e'c\"ret", fields), login())));
    EXPECT_TRUE(hasPassword("ann", "s:e'c\"ret"));
    EXPECT_EQ(value("users.user1.password"), "x");
    EXPECT_EQ(value("users.total"), "1");
    EXPECT_EQ(configuration().find("made-up"), std::string::npos);
    const std::string file = keysOf("ann");
    EXPECT_EQ(read(file), std::string(key_one) + "\n" + key_two + "\n");
    EXPECT_EQ(fs::status(onHost(file)).permissions(), fs::perms(0600));

    page = get("form=users&action=edit&index=1&type=user", login());
    EXPECT_EQ(page.lacks({"user1.power.outlet1\" value=\"on\" checked><span>Rack &lt;1&gt;",
                          "home&#x0a;ssh-rsa"}),
              "");

    // All of it goes again, and the password stays.
    ASSERT_TRUE(saved(post(userFields(1, "ann", "ann", "********"), login())));
    EXPECT_NE(log().find("Password has not changed: ann"), std::string::npos);
    EXPECT_TRUE(hasPassword("ann", "s:e'c\"ret"));
    EXPECT_FALSE(exists(file));
    for (const char *field : {"description", "groups.group1", "groups.total", "ssh_pubkey_only",
                              "password_nvflash", "dashboard", "callback.enabled", "callback.phone",
                              "port3", "power.outlet1", "ssh_auth_keys"})
        EXPECT_EQ(value(std::string("users.user1.") + field), "") << field;
    EXPECT_TRUE(get("form=users", login())
                    .has("No groups assigned. <i>User has no Management Console access</i>"));
}

TEST_F(Users, RenamingMovesTheAccountAndEndsItsSessions) {
    addTwo();
    const std::string before = account("ann");
    login("ann", "anns-session");
    ASSERT_TRUE(saved(post(userFields(1, "ann", "anna", "********"), login())));
    EXPECT_EQ(account("ann"), "");
    EXPECT_EQ(std::regex_replace(account("anna"), std::regex("anna"), "ann"), before)
        << "id and password stay";
    EXPECT_EQ(value("users.user1.username"), "anna");
    EXPECT_FALSE(exists("/var/run/.sessions/session-anns-session"));
}

TEST_F(Users, RootHasKeysHereAndItsPasswordElsewhere) {
    configure("config.users.user1.username", "root");
    configure("config.users.total", "1");
    const std::string before = account("root");
    const Response page = get("form=users&action=edit&index=1&type=user", login());
    for (const char *field : {".username", ".password", ".disabled"})
        EXPECT_FALSE(page.has(std::string("config.users.user1") + field + "\"")) << field;
    ASSERT_TRUE(saved(post(userFields(1, "root", "toor", "new",
                                      formData("config.users.user1.description=Chief&group.dialin="
                                               "on&config.users.user1.disabled=on&"
                                               "config.users.user1.ssh_auth_keys=" +
                                               std::string(key_one))),
                           login())));
    EXPECT_EQ(account("root"), std::regex_replace(before, std::regex("Administrator"), "Chief"));
    EXPECT_EQ(read(keysOf("root")), std::string(key_one) + "\n");
    for (const char *field : {"disabled", "password", "groups.group1"})
        EXPECT_EQ(value(std::string("users.user1.") + field), "") << field;
}

TEST_F(Users, LinksEnableDisableAndDelete) {
    addTwo();
    const std::string hash = account("bea");
    const std::string cookie = login("bea", "beas-session");
    Response page = get("form=users", login());
    for (const char *action : {"edit", "delete", "disable"})
        EXPECT_TRUE(page.has(std::string("<a href=\"?form=users&amp;action=") + action +
                             "&amp;index=2&amp;type=user\">"))
            << action;

    page = get("form=users&action=disable&index=2&type=user", login());
    EXPECT_EQ(page.lacks({"Account for user: bea has been <b>disabled</b>", "<i>disabled</i>",
                          "action=enable&amp;index=2&amp;type=user"}),
              "");
    EXPECT_EQ(value("users.user2.disabled"), "on");
    EXPECT_EQ(account("bea").find("bea:!"), 0U);
    EXPECT_FALSE(exists("/var/run/.sessions/session-beas-session"));
    page = get("form=users&action=enable&index=2&type=user", login());
    EXPECT_TRUE(page.has("Account for user: bea has been <b>enabled</b>"));
    EXPECT_EQ(account("bea"), hash);

    page = get("form=users&action=delete&index=1&type=user&apply=Delete&opened=ann", login());
    EXPECT_TRUE(page.has("Delete the user 'ann' with the login account"));
    EXPECT_NE(account("ann"), "") << "a link alone deletes nobody";

    login("ann", "anns-session");
    ASSERT_TRUE(
        post(question("delete", "user", 1, "ann"), login()).has("User 'ann' has been deleted."));
    EXPECT_EQ(account("ann"), "");
    EXPECT_FALSE(exists("/etc/config/users/ann"));
    EXPECT_FALSE(exists("/var/run/.sessions/session-anns-session"))
        << "or it would come to life with the next user of that name";
    EXPECT_EQ(value("users.total"), "1");
    EXPECT_EQ(value("users.user1.username"), "bea");
    EXPECT_EQ(value("users.user2.username"), "");
}

TEST_F(Users, ARequestThatHadToWaitSeesWhatHasChanged) {
    addTwo();
    const std::string accounts = read(passwd);
    UniqueFd lock = lockFile(onHost("/etc/config/.users.lock"));
    ASSERT_TRUE(lock);
    const std::string cookie = login();
    auto answer = std::async(std::launch::async,
                             [&] { return post(userFields(1, "ann", "ann", "new"), cookie); });
    // Long enough for it to have read the configuration.
    EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout);
    configure("config.users.user1.username", "zoe");
    lock.reset();
    EXPECT_TRUE(answer.get().has("this entry is 'zoe' now, not 'ann'. Nothing was saved."));
    EXPECT_EQ(read(passwd), accounts);
}

TEST_F(Users, GroupsHaveRolesAndTakeTheirMembersAlong) {
    ASSERT_TRUE(saved(post(groupFields(7, "", "ops",
                                       formData("role.status=on&role.root=on&config.groups."
                                                "group7.description=Operators&"
                                                "config.groups.group7.port2=on")),
                           login())));
    ASSERT_TRUE(saved(post(userFields(1, "", "ann", "secret", {{"group.ops", "on"}}), login())));
    Response page = get("form=users&action=edit&index=7&type=group", login());
    EXPECT_EQ(page.lacks({"name=\"role.status\" value=\"on\" checked><span title=\"See status, "
                          "statistics and dashboards\">status</span>",
                          "name=\"role.admin\" value=\"on\"><span", "value=\"Operators\"",
                          "group7.port2\" type=\"checkbox\" checked"}),
              "");
    EXPECT_NE(read("/etc/config/group").find("ops:x:1001:\n"), std::string::npos);
    EXPECT_TRUE(get("form=sessions", login("ann")).has("Web Sessions"));
    EXPECT_TRUE(get("form=users", login("ann")).has("not authorized"));

    ASSERT_TRUE(saved(post(groupFields(7, "ops", "night", {{"role.devices", "on"}}), login())));
    EXPECT_EQ(value("users.user1.groups.group1"), "night");
    EXPECT_EQ(read("/etc/config/group").find("ops"), std::string::npos);
    EXPECT_NE(read("/etc/config/group").find("night:x:1001:\n"), std::string::npos);
    EXPECT_TRUE(get("form=sessions", login("ann")).has("not authorized"));

    ASSERT_TRUE(post(question("delete", "group", 7, "night"), login())
                    .has("Group 'night' has been deleted."));
    EXPECT_EQ(configuration().find("night"), std::string::npos);
    EXPECT_EQ(read("/etc/config/group").find("night"), std::string::npos);
    // Built-in roles are not to be taken away.
    page = get("form=users&action=edit&index=1&type=group", login());
    EXPECT_TRUE(page.has("name=\"role.power\" value=\"on\" disabled checked"));
}

TEST_F(Users, AccountFailureSavesNothing) {
    addTwo();
    const std::string stored = configuration();
    fs::rename(onHost(passwd), onHost("/etc/config/passwd.away"));
    fs::create_directory(onHost(passwd));
    // Root is looked up elsewhere: only the appliance's own file is out of reach.
    const auto ask = [this](Environment variables, const std::string &body) {
        variables["HTTP_COOKIE"] = login();
        variables["NSS_WRAPPER_PASSWD"] = onHost("/etc/config/passwd.away");
        return request(variables, body);
    };
    expectLog("The login accounts can not be read.");
    const Response response =
        ask({{"REQUEST_METHOD", "POST"}, {"CONTENT_TYPE", "application/x-www-form-urlencoded"}},
            encode(userFields(3, "", "joe", "secret")));
    EXPECT_TRUE(response.has("The login accounts can not be read."));
    EXPECT_TRUE(response.has("value=\"joe\"")) << "what was typed";
    EXPECT_TRUE(ask({{"REQUEST_METHOD", "GET"}, {"QUERY_STRING", "form=users"}}, "")
                    .has("no login account: edit the user and give a password"));
    EXPECT_EQ(configuration(), stored);
}

TEST_F(Users, ConfigurationFailureIsToldAndCanBeMended) {
    // Nothing can take the place of a folder: the account is changed, the configuration is not.
    configure("config.delayed", "on");
    fs::create_directories(onHost("/etc/config/delayed/configurators/in-the-way"));
    expectLog("Failed to ");
    const Response response = post(userFields(1, "", "ann", "secret"), login());
    EXPECT_EQ(response.lacks({"Failed to save configuration changes.",
                              "The login account has been changed already. Try again"}),
              "");
    EXPECT_NE(account("ann"), "");

    fs::remove_all(onHost("/etc/config/delayed/configurators"));
    EXPECT_TRUE(
        post(userFields(1, "", "ann", "other"), login()).has("Changes to configuration queued."));
    EXPECT_TRUE(hasPassword("ann", "other")) << "the account without a user is taken over";
    EXPECT_EQ(value("users.user1.username"), "") << "queued";
}

} // namespace
} // namespace zandorin::test
