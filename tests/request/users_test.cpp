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
    const Response page = post(userFields(1, "", "ann", "s:e'c\"ret", fields));
    EXPECT_EQ(page.lacks({"<i>Description</i> can not contain markup.", "value=\"Ann &amp; Co\"",
                          "Nothing was saved. Type the password again."}),
              "");
    EXPECT_FALSE(page.has("ecret")) << "nothing typed is lost but passwords";

    fields[0].second = "Ann of ops";
    ASSERT_TRUE(saved(post(userFields(1, "", "ann", "s:e'c\"ret", fields))));
    EXPECT_TRUE(hasPassword("ann", "s:e'c\"ret"));
    EXPECT_EQ(value("users.user1.password"), "x");
    EXPECT_EQ(configuration().find("made-up"), std::string::npos);
    const std::string file = keysOf("ann");
    EXPECT_EQ(read(file), std::string(key_one) + "\n" + key_two + "\n");
    EXPECT_EQ(modeOf(file), 0600U);

    // All of it goes again, and the password stays.
    ASSERT_TRUE(saved(post(userFields(1, "ann", "ann", "********"))));
    EXPECT_TRUE(hasPassword("ann", "s:e'c\"ret"));
    EXPECT_FALSE(exists(file));
    for (const char *field :
         {"description", "groups.group1", "callback.phone", "port3", "ssh_auth_keys"})
        EXPECT_EQ(value(std::string("users.user1.") + field), "") << field;
    EXPECT_TRUE(
        get("form=users").has("No groups assigned. <i>User has no Management Console access</i>"));
}

TEST_F(Users, KeysComeAsAFileToo) {
    addTwo();
    const std::string field = "config.users.user1.ssh_auth_keys";
    const std::string two = key_two;
    const auto send = [&](const std::string &fileName, const std::string &contents) {
        return upload(userFields(1, "ann", "ann", "********", {{field, key_one}}), field + ".file",
                      fileName, contents);
    };
    const std::tuple<const char *, std::string, const char *> rows[] = {
        {"../keys", two, "File name contains illegal characters"},
        {"keys", std::string(16384, 'a'),
         "The file of SSH keys is too large: it may hold 16383 bytes."},
        {"keys", two + std::string(16340, 'a'),
         "<i>SSH Authorized Keys</i> can not be longer than 16383 bytes."},
        {"keys", std::string("ssh-rsa A\0b", 11),
         "The file of SSH keys is no text file. Upload a public key."},
    };
    for (const auto &[name, contents, message] : rows)
        EXPECT_TRUE(send(name, contents).has(message)) << message;
    EXPECT_FALSE(exists(keysOf("ann")));
    EXPECT_TRUE(saved(send("", ""))) << "no file chosen";
    ASSERT_TRUE(saved(send("id_A-z@0.pub", two + "\n")));
    EXPECT_EQ(read(keysOf("ann")), std::string(key_one) + "\n" + two + "\n");
    for (const auto &entry : std::filesystem::directory_iterator(onHost("/tmp")))
        EXPECT_NE(entry.path().filename().string().substr(0, 7), "upload-") << entry.path();

    // A file of the user's own is left alone while the page names no keys.
    put(keysOf("anna"), "her own");
    ASSERT_TRUE(saved(post(userFields(2, "anna", "anna", "changed"))));
    EXPECT_EQ(read(keysOf("anna")), "her own");
}

TEST_F(Users, RootHasKeysHereAndItsPasswordElsewhere) {
    configure("config.users.user1.username", "root");
    configure("config.users.total", "1");
    const std::string before = account("root");
    const Response page = get("form=users&action=edit&index=1&type=user");
    for (const char *field : {".username", ".password", ".disabled"})
        EXPECT_FALSE(page.has(std::string("config.users.user1") + field + "\"")) << field;
    ASSERT_TRUE(saved(post(userFields(1, "root", "toor", "new",
                                      formData("config.users.user1.description=Chief&group.dialin="
                                               "on&config.users.user1.disabled=on&"
                                               "config.users.user1.ssh_auth_keys=" +
                                               std::string(key_one))))));
    EXPECT_EQ(account("root"), std::regex_replace(before, std::regex("Administrator"), "Chief"));
    EXPECT_EQ(read(keysOf("root")), std::string(key_one) + "\n");
    for (const char *field : {"disabled", "password", "groups.group1"})
        EXPECT_EQ(value(std::string("users.user1.") + field), "") << field;
}

TEST_F(Users, AreEnabledDisabledRenamedAndDeleted) {
    addTwo();
    const std::string hash = account("anna");
    login("anna", "annas-session");
    const Response page = get("form=users&action=disable&index=2&type=user");
    EXPECT_EQ(page.lacks({"Account for user: anna has been <b>disabled</b>",
                          "<a href=\"?form=users&amp;action=enable&amp;index=2&amp;type=user\">"}),
              "");
    EXPECT_EQ(value("users.user2.disabled"), "on");
    EXPECT_EQ(account("anna").find("anna:!"), 0U);
    EXPECT_FALSE(exists("/var/run/.sessions/session-annas-session"));
    get("form=users&action=enable&index=2&type=user");
    EXPECT_EQ(account("anna"), hash);

    login("anna", "annas-session");
    put("/etc/config/users/anna/notes", "hers");
    ASSERT_TRUE(saved(post(userFields(2, "anna", "annabel", "********"))));
    EXPECT_EQ(read("/etc/config/users/annabel/notes"), "hers");
    EXPECT_FALSE(exists("/etc/config/users/anna"));
    EXPECT_EQ(std::regex_replace(account("annabel"), std::regex("annabel"), "anna"), hash)
        << "id and password stay";
    EXPECT_EQ(account("anna"), "");
    EXPECT_FALSE(exists("/var/run/.sessions/session-annas-session"));

    login("ann", "anns-session");
    ASSERT_TRUE(post(question("delete", "user", 1, "ann")).has("User 'ann' has been deleted."));
    EXPECT_FALSE(exists("/etc/config/users/ann"));
    EXPECT_EQ(account("ann"), "") << "the other one's begins with it, and stays";
    EXPECT_NE(account("annabel"), "");
    EXPECT_EQ(modeOf(passwd), 0644U);
    EXPECT_EQ(modeOf("/etc/config/users/annabel/.ssh"), 0755U);
    EXPECT_FALSE(exists("/var/run/.sessions/session-anns-session"))
        << "or it would come to life with the next user of that name";
    EXPECT_EQ(value("users.total") + value("users.user1.username"), "1annabel");
}

TEST_F(Users, ALinkActsToItsEndWhoeverHangsUp) {
    addTwo();
    const std::string cookie = login();
    const std::string lock = onHost("/etc/config/.settings.lock");
    UniqueFd held = lockFile(lock);
    ASSERT_TRUE(held);
    Running request = start(
        {{"QUERY_STRING", "form=users&action=disable&index=1&type=user"}, {"HTTP_COOKIE", cookie}});
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
    configure({{"config.users.user1.username", "anna"}, {"config.users.user2.username", "ann"}});
    // As a web server does whose client has gone.
    for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGPIPE})
        ::kill(request.pid, signal);
    held.reset();
    EXPECT_EQ(request.finish().status, 0);
    EXPECT_EQ(value("users.user1.disabled"), "on");
    EXPECT_EQ(account("anna").find("anna:!"), 0U);
}

TEST_F(Users, GroupsHaveRolesAndTakeTheirMembersAlong) {
    ASSERT_TRUE(saved(post(groupFields(7, "", "ops", formData("role.status=on&role.root=on")))));
    ASSERT_TRUE(saved(post(userFields(1, "", "ann", "secret", {{"group.ops", "on"}}))));
    EXPECT_NE(read(group_file).find("ops:x:1001:\n"), std::string::npos);
    EXPECT_TRUE(get("form=sessions", login("ann")).has("Web Sessions"));
    EXPECT_TRUE(get("form=users", login("ann")).has("not authorized"));

    ASSERT_TRUE(saved(post(groupFields(7, "ops", "night", {{"role.devices", "on"}}))));
    EXPECT_EQ(value("users.user1.groups.group1"), "night");
    EXPECT_NE(read(group_file).find("night:x:1001:\n"), std::string::npos);
    EXPECT_TRUE(get("form=sessions", login("ann")).has("not authorized"));

    ASSERT_TRUE(
        post(question("delete", "group", 7, "night")).has("Group 'night' has been deleted."));
    EXPECT_EQ((configuration() + read(group_file)).find("night"), std::string::npos);
    // Built-in roles are not to be taken away.
    EXPECT_TRUE(get("form=users&action=edit&index=1&type=group")
                    .has("name=\"role.power\" value=\"on\" disabled checked"));
}

TEST_F(Users, RemoteAuthenticationNeedsNoPasswordButForDialIn) {
    configure("config.auth.type", "Radius");
    EXPECT_TRUE(post(userFields(1, "", "joe", "", {{"group.pptpd", "on"}}))
                    .has("Password cannot be empty when user is in one of the following groups: "
                         "dialin, pptpd"));
    ASSERT_TRUE(saved(post(userFields(1, "", "joe", ""))));
    EXPECT_EQ(account("joe"), "joe:*:1000:1000::/etc/config/users/joe:/bin/bash")
        << "no password opens this account";
    configure("config.auth.type", "Local");
    EXPECT_TRUE(post(userFields(1, "joe", "joe", "********"))
                    .has("Password cannot be empty when using <i>Local File</i>"))
        << "none is stored";
}

TEST_F(Users, StrangeLinksChangeNothing) {
    addTwo();
    configure("config.users.user3.username", "root");
    configure("config.users.total", "3");
    const std::string before = files();
    const std::pair<std::string, const char *> links[] = {
        {"action=edit&index=99999999999999999999&type=user", "There is no such user"},
        {"action=disable&index=3&type=user", "The root user can not be disabled."},
        {"action=disable&index=1&type=group", "Groups cannot be enabled or disabled"},
    };
    for (const auto &[query, message] : links)
        EXPECT_EQ(get("form=users&" + query).lacks({message, "Add User"}), "")
            << query << ": told, and the list follows";
    EXPECT_TRUE(get("form=users").has("<i>The root user has no editable groups</i>"));
    EXPECT_EQ(files(), before);

    // An administrator does not lock himself out.
    configure("config.users.user1.groups.group1", "admin");
    const std::string accounts = read(passwd);
    for (const std::string action : {"disable", "delete"})
        EXPECT_TRUE(
            post(question(action, "user", 1, "ann"), login("ann"))
                .has("You can not " + action + " the account that you are logged in with."));
    EXPECT_EQ(read(passwd), accounts);
}

} // namespace
} // namespace zandorin::test
