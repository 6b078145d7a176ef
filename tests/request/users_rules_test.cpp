#include "tests/request/users_page.h"

namespace zandorin::test {
namespace {

/// A submission and what it is told.
struct Row {
    const char *name;
    Fields fields;
    std::string message;
};

/// Ann's page, her password as it is, with another value of one field.
Fields ann(const std::string &field, const std::string &value) {
    return userFields(1, "ann", "ann", "********", {{field, value}});
}

TEST_F(Users, RulesAreToldInTheirWordsAndNothingIsStored) {
    addTwo();
    put(passwd, read(passwd) + "www:*:33:33::/var/www:/bin/false\n");
    const std::string key = "config.users.user1";
    const std::string keys = key + ".ssh_auth_keys";
    const std::string one = key_one;
    const auto add = [](const std::string &name, const std::string &password = "p") {
        return userFields(3, "", name, password);
    };
    const Row rows[] = {
        {"a line", userFields(1, "ann", "ann\nevil::0:0:::/bin/sh", "********"), "is invalid."},
        {"several addresses", add("a@b.org,c@d.org"), "<i>Username</i> can only hold letters"},
        {"of the system", add("www"), "The account 'www' belongs to the system."},
        {"root", add("root"), "The account 'root' belongs to the system."},
        {"description with a colon", ann(key + ".description", "a:b"),
         "<i>Description</i> can not contain \":\" or control characters."},
        {"placeholder of nothing", add("joe", "********"),
         "Password cannot be empty when using <i>Local File</i> authentication for user: 'joe'"},
        {"mismatch of a hostile name",
         Fields{{"config.users.user3.confirm", "x"}} + add("<b>", "new"),
         "Password mismatch for user: '&lt;b&gt;'"},
        {"clear password needed", ann("group.dialin", "on"),
         "When initially adding users to one of the following groups: dialin, pptpd, the user's "
         "password must be respecified."},
        {"no phone number", ann(key + ".callback.phone", "call me"),
         "<i>Dial-Back Phone Number</i> must be assigned a <i>Phone Number</i>."},
        {"no key", ann(keys, one + "\nnonsense"),
         "<i>SSH Authorized Keys, line 2</i> must be assigned a <i>SSH Authentication Key</i>. "
         "The value '<i>nonsense</i>' is invalid."},
        {"hidden line in a key", ann(keys, one + "\rx"),
         "<i>SSH Authorized Keys, line 1</i> can not contain control characters."},
        {"group with a line", groupFields(7, "", "a\nroot:x:0:"),
         "<i>Group Name</i> must be assigned a <i>Posix Group Name</i>."},
        {"group taken", groupFields(7, "", "netgrp"), "There is a group 'netgrp' already."},
        {"built-in group renamed", groupFields(1, "admin", "boss"),
         "The group 'admin' is built in and can not be renamed."},
    };
    const std::string before = files();
    expectLog("can not contain markup.");
    for (const Row &row : rows) {
        const Response response = post(row.fields, login());
        EXPECT_TRUE(response.has(row.message)) << row.name << response.part("error-message", "<h1");
        EXPECT_FALSE(saved(response)) << row.name;
        EXPECT_EQ(files(), before) << row.name;
    }
}

TEST_F(Users, RemoteAuthenticationNeedsNoPasswordButForDialIn) {
    configure("config.auth.type", "Radius");
    EXPECT_TRUE(post(userFields(1, "", "joe", "", {{"group.pptpd", "on"}}), login())
                    .has("Password cannot be empty when user is in one of the following groups: "
                         "dialin, pptpd"));
    ASSERT_TRUE(saved(post(userFields(1, "", "joe", ""), login())));
    EXPECT_EQ(account("joe"), "joe:*:1000:1000::/etc/config/users/joe:/bin/bash")
        << "no password opens this account";
    configure("config.auth.type", "Local");
    EXPECT_TRUE(post(userFields(1, "joe", "joe", "********"), login())
                    .has("Password cannot be empty when using <i>Local File</i>"))
        << "none is stored";
}

TEST_F(Users, StrangeRequestsChangeNothing) {
    addTwo();
    configure("config.users.user3.username", "root");
    configure("config.users.total", "3");
    const std::string before = files();
    const Row posts[] = {
        {"built-in group", question("delete", "group", 1, "admin"),
         "The group 'admin' is built in and can not be deleted."},
        {"root", question("delete", "user", 3, "root"), "The root user can not be deleted."},
    };
    for (const Row &row : posts)
        EXPECT_TRUE(post(row.fields, login()).has(row.message)) << row.name;

    const std::pair<std::string, const char *> links[] = {
        {"action=edit&index=99999999999999999999&type=user", "There is no such user"},
        {"action=disable&index=3&type=user", "The root user can not be disabled."},
        {"action=disable&index=1&type=group", "Groups cannot be enabled or disabled"},
    };
    for (const auto &[query, message] : links)
        EXPECT_EQ(get("form=users&" + query, login()).lacks({message, "Add User"}), "")
            << query << ": told, and the list follows";
    EXPECT_TRUE(get("form=users", login()).has("<i>The root user has no editable groups</i>"));
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

TEST_F(Users, KeysComeAsAFileToo) {
    addTwo();
    const std::string field = "config.users.user1.ssh_auth_keys";
    const std::string two = key_two;
    const auto send = [&](const std::string &fileName, const std::string &contents) {
        return upload(ann(field, key_one), field + ".file", fileName, contents);
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
    ASSERT_TRUE(saved(send("id_rsa.pub", two + "\n")));
    EXPECT_EQ(read(keysOf("ann")), std::string(key_one) + "\n" + two + "\n");
    for (const auto &entry : std::filesystem::directory_iterator(onHost("/tmp")))
        EXPECT_NE(entry.path().filename().string().substr(0, 7), "upload-") << entry.path();

    // A file of the user's own is left alone while the page names no keys.
    put(keysOf("bea"), "her own");
    ASSERT_TRUE(saved(post(userFields(2, "bea", "bea", "changed"), login())));
    EXPECT_EQ(read(keysOf("bea")), "her own");
}

} // namespace
} // namespace zandorin::test
