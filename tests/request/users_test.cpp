#include "tests/request/users_page.h"
#include "util/files.h"

#include <csignal>

namespace zandorin::test {
namespace {

TEST_F(Users, WhatIsTypedIsSavedOrShownAgainAndTakenAway) {
    expectLog("<i>Description</i> can not contain markup.");
    const std::string key = "config.users.user1";
    const std::string keys = std::string(key_one) + "\r\n\r\n# a comment\r\n" + key_two + "\r\n";
    Fields fields = Fields{{key + ".description", "Ann & Co"}, {key + ".ssh_auth_keys", keys}} +
                    formData("group.admin=on&group.pmshell=on&group.made-up=on&"
                             "config.users.user1.callback.phone=+43.1.5551234&"
                             "config.users.user1.port3=on");
    const Response page = post(userFields(1, "", "ann", "s:e'c\"ret", fields), login());
    EXPECT_EQ(page.lacks({"<i>Description</i> can not contain markup.", "value=\"Ann &amp; Co\"",
                          "Nothing was saved. Type the password again."}),
              "");
    EXPECT_FALSE(page.has("ecret")) << "nothing typed is lost but passwords";

    fields[0].second = "Ann of ops";
    ASSERT_TRUE(saved(post(userFields(1, "", "ann", "s:e'c\"ret", fields), login())));
    EXPECT_TRUE(hasPassword("ann", "s:e'c\"ret"));
    EXPECT_EQ(value("users.user1.password"), "x");
    EXPECT_EQ(configuration().find("made-up"), std::string::npos);
    const std::string file = keysOf("ann");
    EXPECT_EQ(read(file), std::string(key_one) + "\n" + key_two + "\n");
    EXPECT_EQ(modeOf(file), 0600U);

    // All of it goes again, and the password stays.
    ASSERT_TRUE(saved(post(userFields(1, "ann", "ann", "********"), login())));
    EXPECT_TRUE(hasPassword("ann", "s:e'c\"ret"));
    EXPECT_FALSE(exists(file));
    for (const char *field :
         {"description", "groups.group1", "callback.phone", "port3", "ssh_auth_keys"})
        EXPECT_EQ(value(std::string("users.user1.") + field), "") << field;
    EXPECT_TRUE(get("form=users", login())
                    .has("No groups assigned. <i>User has no Management Console access</i>"));
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

TEST_F(Users, AreEnabledDisabledRenamedAndDeleted) {
    addTwo();
    const std::string hash = account("bea");
    login("bea", "beas-session");
    const Response page = get("form=users&action=disable&index=2&type=user", login());
    EXPECT_EQ(page.lacks({"Account for user: bea has been <b>disabled</b>",
                          "<a href=\"?form=users&amp;action=enable&amp;index=2&amp;type=user\">"}),
              "");
    EXPECT_EQ(value("users.user2.disabled"), "on");
    EXPECT_EQ(account("bea").find("bea:!"), 0U);
    EXPECT_FALSE(exists("/var/run/.sessions/session-beas-session"));
    get("form=users&action=enable&index=2&type=user", login());
    EXPECT_EQ(account("bea"), hash);

    login("bea", "beas-session");
    ASSERT_TRUE(saved(post(userFields(2, "bea", "beata", "********"), login())));
    EXPECT_EQ(std::regex_replace(account("beata"), std::regex("beata"), "bea"), hash)
        << "id and password stay";
    EXPECT_EQ(account("bea"), "");
    EXPECT_FALSE(exists("/var/run/.sessions/session-beas-session"));

    login("ann", "anns-session");
    ASSERT_TRUE(
        post(question("delete", "user", 1, "ann"), login()).has("User 'ann' has been deleted."));
    EXPECT_EQ(account("ann"), "");
    EXPECT_FALSE(exists("/var/run/.sessions/session-anns-session"))
        << "or it would come to life with the next user of that name";
    EXPECT_EQ(value("users.total") + value("users.user1.username"), "1beata");
}

TEST_F(Users, ALinkActsToItsEndWhoeverHangsUp) {
    addTwo();
    const std::string cookie = login();
    const std::string lock = onHost("/etc/config/.settings.lock");
    UniqueFd held = lockFile(lock);
    ASSERT_TRUE(held);
    Running request = start({{"REQUEST_METHOD", "GET"},
                             {"QUERY_STRING", "form=users&action=disable&index=1&type=user"},
                             {"HTTP_COOKIE", cookie}});
    const auto waits = [&] {
        std::error_code gone;
        for (const auto &fd :
             fs::directory_iterator("/proc/" + std::to_string(request.pid) + "/fd", gone))
            if (fs::read_symlink(fd.path(), gone) == lock)
                return true;
        return false;
    };
    ASSERT_TRUE(waitFor(waits));
    // What changed while it waited counts.
    configure({{"config.users.user1.username", "bea"}, {"config.users.user2.username", "ann"}});
    // As a web server does whose client has gone.
    for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGPIPE})
        ::kill(request.pid, signal);
    held.reset();
    EXPECT_EQ(request.finish().status, 0);
    EXPECT_EQ(value("users.user1.disabled"), "on");
    EXPECT_EQ(account("bea").find("bea:!"), 0U);
}

TEST_F(Users, GroupsHaveRolesAndTakeTheirMembersAlong) {
    ASSERT_TRUE(
        saved(post(groupFields(7, "", "ops", formData("role.status=on&role.root=on")), login())));
    ASSERT_TRUE(saved(post(userFields(1, "", "ann", "secret", {{"group.ops", "on"}}), login())));
    EXPECT_NE(read(group_file).find("ops:x:1001:\n"), std::string::npos);
    EXPECT_TRUE(get("form=sessions", login("ann")).has("Web Sessions"));
    EXPECT_TRUE(get("form=users", login("ann")).has("not authorized"));

    ASSERT_TRUE(saved(post(groupFields(7, "ops", "night", {{"role.devices", "on"}}), login())));
    EXPECT_EQ(value("users.user1.groups.group1"), "night");
    EXPECT_NE(read(group_file).find("night:x:1001:\n"), std::string::npos);
    EXPECT_TRUE(get("form=sessions", login("ann")).has("not authorized"));

    ASSERT_TRUE(post(question("delete", "group", 7, "night"), login())
                    .has("Group 'night' has been deleted."));
    EXPECT_EQ((configuration() + read(group_file)).find("night"), std::string::npos);
    // Built-in roles are not to be taken away.
    EXPECT_TRUE(get("form=users&action=edit&index=1&type=group", login())
                    .has("name=\"role.power\" value=\"on\" disabled checked"));
}

} // namespace
} // namespace zandorin::test
