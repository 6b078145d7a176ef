#include "engine/formlet.h"
#include "engine/nav_tree.h"
#include "settings/registry.h"
#include "tests/support/pages.h"
#include "util/files.h"

// What holds for every page that there is: who gets it, that it shows and writes no secret, and
// that docs/configuration.md says what it has.

namespace zandorin::test {
namespace {

using Names = std::set<std::string>;

const std::string refusal =
    R"(<html><body bgcolor="#FFFFFF"><p class="fatal-message"><font color="#E20303">)"
    R"(<b>Fatal</b></font> User 'ann' is not authorized to access this area.</p></body></html>)";

/// Who asks, by which method.
using Asker = std::tuple<std::string, std::string>;

class AccessMatrix : public RequestTest, public ::testing::WithParamInterface<Asker> {
  protected:
    /// Whether the asker's role opens each page: those of the navigation, and every form and
    /// template it does not name.
    std::map<std::string, bool> pages() const {
        std::map<std::string, bool> opens;
        const NavTree tree("/home/httpd/nav.xml");
        for (const NavBranch &branch : tree.branches())
            for (const NavLeaf &leaf : branch.leaves)
                opens.emplace(leaf.id, roles_has(leaf.roles, user.c_str()));
        const bool generally = roles_has(tree.roles(), user.c_str());
        for (const auto &[name, formlet] : FormletRegistry::entries())
            opens.emplace(name, generally);
        for (const auto &[name, page] : settings::PageRegistry::entries())
            opens.emplace(name, generally);
        for (const auto &file : fs::directory_iterator(onHost("/home/httpd/forms")))
            opens.emplace(file.path().stem().string(), generally);
        opens.emplace("manage", generally);
        // Everybody's own way in and out: login_test.cpp.
        opens.erase("login");
        opens.erase("logout");
        return opens;
    }

    /// What must stay as it is; a session goes when it is used for what it may not.
    std::string kept() const {
        std::string found;
        for (const auto &[path, bytes] : files())
            found += path.starts_with("/var/run/.sessions/") ? "" : path + bytes;
        return found;
    }

    const std::string user = std::get<0>(GetParam());
    const std::string method = std::get<1>(GetParam());

    Response send(const std::string &page, const std::string &cookie) {
        const Fields fields = Fields{{"form", page}} +
                              formData("apply=1&config.system.name=x&action=delete&type=user&"
                                       "index=1&cancel=1");
        const bool isPost = method == "POST";
        const std::string text = encode(isPost ? fields : Fields{fields[0]});
        Environment variables = {{"REQUEST_METHOD", method},
                                 {"QUERY_STRING", isPost ? "" : text},
                                 {"HTTP_COOKIE", cookie},
                                 {"HTTP_X_FORWARDED_FOR", "127.0.0.1"},
                                 {"HTTP_AUTHORIZATION", "Basic cm9vdDprZXN0cmVs"},
                                 {"HTTP_ZANDORIN_ROOT", "/"},
                                 {"HTTP_X_BASE_URI", "/node/7"}};
        for (const char *name :
             {"REMOTE_USER", "HTTP_REMOTE_USER", "HTTP_X_REMOTE_USER", "HTTP_X_FORWARDED_USER"})
            variables[name] = "root";
        return request(variables, isPost ? text : "");
    }
};

TEST_P(AccessMatrix, OnlyWhoMayOpenAPageGetsIt) {
    expectLog("Failed to generate snmpapp.conf");
    addUser("ann", {"own"});
    configure("config.groups.total", "1");
    configure("config.groups.group1.name", "own");
    const auto opens = pages();
    EXPECT_GT(opens.size(), 20U);
    configure("config.groups.group1.roles.role1", user);
    const auto first = files();
    std::string before = kept();
    for (const auto &[page, isOpen] : opens) {
        std::string cookie;
        if (user != "nobody")
            cookie = login(user == "root" ? "root" : "ann");
        // The welcome is root's alone, and who may not see the summary is sent on to what is
        // theirs.
        const bool isSentOn = page == "index" || page == "dashboardsummary";
        const bool may = user == "root" || isOpen || (isSentOn && opens.at("manage"));
        const Response response = send(page, cookie);
        EXPECT_EQ(response.has("name=\"username\""), user == "nobody") << page;
        const bool isRefused = user != "nobody" && !may;
        EXPECT_EQ(response.body == refusal, isRefused) << page;
        EXPECT_EQ(exists("/var/run/.sessions/session-0123456789abcdef-ann"),
                  !isRefused && user != "nobody" && user != "root")
            << page;
        EXPECT_EQ(response.has("id=\"related-links\""), may) << page;
        EXPECT_TRUE(may || kept() == before) << page; // of all files, too much to print
        for (const char *file : {config_file, "/etc/config/passwd", "/etc/config/group"})
            put(file, first.at(file));
        before = kept();
    }
}

INSTANTIATE_TEST_SUITE_P(All, AccessMatrix,
                         ::testing::Combine(::testing::Values("nobody", "admin", "ports", "power",
                                                              "devices", "status", "root"),
                                            ::testing::Values("GET", "POST")),
                         [](const auto &parameter) {
                             return std::get<0>(parameter.param) + "_" +
                                    std::get<1>(parameter.param);
                         });

class EveryPage : public RequestTest {
  protected:
    Response open(const std::string &leaf, const std::string &session = "") {
        return get(formQuery(leaf), login("root", session));
    }
};

TEST_F(EveryPage, HasTheElementsOfTheDocument) {
    equip();
    std::map<std::string, std::map<std::string, std::string>> documented;
    for (const DocumentedKey &row : documentedKeys())
        documented[row.page][row.key] = row.type;
    for (const std::string &page : navigationLeaves())
        EXPECT_EQ(readElements(open(page).body), documented[page]) << page;
}

TEST_F(EveryPage, DocumentHasTheKeysOfTheSources) {
    const auto rows = documentedKeys();
    EXPECT_GT(rows.size(), 100U);
    for (const char *folder :
         {"cgi", "config-tool", "engine", "forms", "platform", "settings", "types", "ui", "util"})
        for (const auto &file :
             fs::recursive_directory_iterator(fs::path(ZANDORIN_SOURCE_DIR) / folder))
            for (const std::string &key :
                 captures(readFile(file.path()).value_or(""), "\"(config\\.[a-z0-9_.]+)\""))
                // Whole, or as far as it goes: the rest is another piece, or no constant.
                EXPECT_TRUE(std::any_of(rows.begin(), rows.end(),
                                        [&](const auto &row) {
                                            return key.starts_with("config.try") || // never stored
                                                   row.key == key ||
                                                   (row.key.starts_with(key) &&
                                                    (key.back() == '.' ||
                                                     row.key[key.size()] == '.' ||
                                                     std::isdigit(row.key[key.size()]) != 0));
                                        }))
                    << key << " of " << file.path();
}

/// Stands in every planted text, and nowhere else.
const std::string mark = "quetzal";
const std::string session_id = "5e55104quetzal";

/// Every file but those that are there to hold secrets.
const Names homes = {config_file, passwd, "/etc/config/ssl_key.pem", "/var/run/config.snapshot"};

TEST_F(EveryPage, ShowsAndWritesNoSecret) {
    const auto expectInNoFile = [](const std::string &what) {
        for (const auto &entry : fs::recursive_directory_iterator(onHost(""))) {
            const std::string path = entry.path().string().substr(onHost("").size());
            if (entry.is_regular_file() && !entry.is_symlink() && !homes.contains(path)) {
                EXPECT_EQ(read(path).find(mark), std::string::npos) << path << ": " << what;
            }
        }
    };
    configure(formData("config.ui.log.trace=on&config.ui.debug=on&config.auth.sessionlifetime=20"));
    expectLog("Failed to generate snmpapp.conf");
    const auto leaves = navigationLeaves();
    // Typed into every password field there is, and refused, because nothing is repeated.
    std::vector<std::string> keys;
    for (const std::string &leaf : leaves) {
        if (leaf == "logout")
            continue;
        Fields typed = {{"apply", "1"}};
        for (const PageField &field : readFields(open(leaf, session_id).body))
            if (field.kind == "password") {
                keys.push_back(field.name);
                typed.emplace_back(field.name, mark + "-typed" + std::to_string(typed.size()));
            }
        typed.emplace_back("form", leaf);
        const Response response = post(typed, login("root", session_id));
        EXPECT_FALSE(response.has(mark)) << leaf;
        expectInNoFile(leaf);
    }
    EXPECT_GT(keys.size(), 15U);

    // Stored, and to be taken away again by what waits for its commit.
    Names secrets = {"config.services.snmp.rocommunity", "config.services.snmp.rwcommunity",
                     "config.system.snmp.community", "config.system.snmp.community2"};
    const Names communities = secrets;
    for (const DocumentedKey &row : documentedKeys())
        if (row.type == "password")
            secrets.insert(row.key);
    put("/etc/config/delayed/config.xml", configuration());
    put("/etc/config/delayed/configurators", "config\n");
    configure("config.delayed", "on");
    for (const std::string &key : secrets)
        configure(key, mark + (communities.contains(key) ? "-community" : "-stored"));
    const std::string queue = open("commit", session_id).body;
    for (const std::string &key : secrets)
        EXPECT_NE(queue.find("<td>" + key + "</td><td>********</td><td>"), queue.npos) << key;
    EXPECT_EQ(queue.find(mark), queue.npos);
    configure("config.delayed", "off");

    // An administrator sees the communities, on their own page.
    for (const std::string &key : keys)
        if (key.starts_with("config.") && !communities.contains(key))
            configure(key, mark + "-stored");
    put("/etc/config/ssl_key.pem", mark + "-key");
    for (const std::string &leaf : leaves) {
        std::string page = open(leaf, session_id).body;
        if (leaf == "snmp")
            page = std::regex_replace(page, std::regex(mark + "-community"), "");
        EXPECT_EQ(page.find(mark), std::string::npos) << leaf;
    }
    expectInNoFile("stored");

    // Typed at the login.
    for (const std::string name : {"root", ""}) {
        const Fields typed = {{"username", name}, {"password", mark + "-login"}};
        const Response response = post(formData("form=login&action=login_userpass") + typed, "");
        EXPECT_EQ((response.body + log()).find(mark + "-login"), std::string::npos);
    }
}

} // namespace
} // namespace zandorin::test
