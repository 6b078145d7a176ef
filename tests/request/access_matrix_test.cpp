#include "engine/formlet.h"
#include "platform/libzandorin/xml_tree.h"
#include "settings/registry.h"
#include "tests/support/request_test.h"

#include <filesystem>
#include <map>
#include <set>
#include <tuple>

// Who gets which page: every page there is, for everybody there is, by both methods.

namespace zandorin::test {
namespace {

using Names = std::set<std::string>;

Names rolesOf(const platform::XmlNode &node, const Names &otherwise) {
    const platform::XmlNode *allow = node.child("allow");
    if (allow == nullptr)
        return otherwise;
    Names roles;
    for (const platform::XmlNode &child : allow->children)
        if (child.value == "role")
            roles.insert(child.text());
    return roles;
}

/// Who asks, by which method.
using Asker = std::tuple<std::string, std::string>;

class AccessMatrix : public RequestTest, public ::testing::WithParamInterface<Asker> {
  protected:
    /// Roles by page: those of the navigation, and every form and template it does not name.
    std::map<std::string, Names> pages() const {
        std::map<std::string, Names> roles;
        const auto tree = platform::parseXml(read("/home/httpd/nav.xml"));
        const Names general = rolesOf(tree.value().root, {});
        for (const platform::XmlNode &branch : tree->root.children)
            for (const platform::XmlNode &leaf : branch.children)
                if (leaf.value == "leaf")
                    roles.emplace(*leaf.attribute("id"), rolesOf(branch, general));
        for (const auto &[name, formlet] : FormletRegistry::entries())
            roles.emplace(name, general);
        for (const auto &[name, page] : settings::PageRegistry::entries())
            roles.emplace(name, general);
        for (const auto &file : std::filesystem::directory_iterator(onHost("/home/httpd/forms")))
            roles.emplace(file.path().stem().string(), general);
        roles.emplace("manage", general);
        // Everybody's own way in and out: login_test.cpp.
        roles.erase("login");
        roles.erase("logout");
        return roles;
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
                                 {"CONTENT_TYPE", "application/x-www-form-urlencoded"},
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
    const auto roles = pages();
    EXPECT_GT(roles.size(), 20U);
    configure("config.groups.group1.roles.role1", user);
    const auto first = files();
    std::string before = kept();
    for (const auto &[page, allowed] : roles) {
        std::string cookie;
        if (user != "nobody")
            cookie = login(user == "root" ? "root" : "ann");
        // The welcome is root's alone, and who may not see the summary is sent on to what is
        // theirs.
        const bool isSentOn = page == "index" || page == "dashboardsummary";
        const bool may = user == "root" || allowed.contains(user) ||
                         (isSentOn && roles.at("manage").contains(user));
        const Response response = send(page, cookie);
        EXPECT_EQ(response.has("name=\"username\""), user == "nobody") << page;
        EXPECT_EQ(response.has("is not authorized to access"), user != "nobody" && !may) << page;
        EXPECT_EQ(response.has("id=\"related-links\""), may) << page;
        EXPECT_TRUE(may || kept() == before) << page; // of all files, too much to print
        for (const char *file :
             {"/etc/config/config.xml", "/etc/config/passwd", "/etc/config/group"})
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

} // namespace
} // namespace zandorin::test
