#include "tests/support/page_reader.h"
#include "tests/support/request_test.h"

#include <filesystem>
#include <regex>
#include <set>

// Secrets are planted wherever the appliance takes one, and then searched for wherever it shows or
// writes something.

namespace zandorin::test {
namespace {

namespace fs = std::filesystem;

/// Stands in every planted text, and nowhere else.
const std::string mark = "quetzal";
const std::string session_id = "5e55104quetzal";

class Secrets : public RequestTest {
  protected:
    /// Every file but those that are there to hold secrets.
    void expectInNoFile(const std::string &what) const {
        static const std::set<std::string> homes = {"/etc/config/config.xml", "/etc/config/passwd",
                                                    "/etc/config/ssl_key.pem",
                                                    "/var/run/config.snapshot"};
        for (const auto &entry : fs::recursive_directory_iterator(onHost(""))) {
            const std::string path = entry.path().string().substr(onHost("").size());
            if (entry.is_regular_file() && !entry.is_symlink() && !homes.contains(path)) {
                EXPECT_EQ(read(path).find(mark), std::string::npos) << path << ": " << what;
            }
        }
    }
};

TEST_F(Secrets, AreShownAndWrittenNowhereElse) {
    configure(formData("config.ui.log.trace=on&config.ui.debug=on&config.auth.sessionlifetime=20"));
    expectLog("Failed to generate snmpapp.conf");
    const auto leaves = navigationLeaves();
    const auto open = [&](const std::string &leaf) {
        return get("form=" + leaf, login("root", session_id));
    };

    // Typed into every password field there is, and refused, because nothing is repeated.
    std::vector<std::string> keys;
    for (const std::string &leaf : leaves) {
        if (leaf == "logout")
            continue;
        Fields typed = {{"apply", "1"}};
        for (const PageField &field : readFields(open(leaf).body))
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

    // Stored. An administrator sees the communities, on their own page.
    for (const std::string &key : keys)
        if (key.starts_with("config."))
            configure(key, mark + "-stored");
    for (const char *key : {"config.services.snmp.rocommunity", "config.services.snmp.rwcommunity",
                            "config.system.snmp.community", "config.system.snmp.community2"})
        configure(key, mark + "-community");
    put("/etc/config/ssl_key.pem", mark + "-key");
    for (const std::string &leaf : leaves) {
        std::string page = open(leaf).body;
        if (leaf == "snmp")
            page = std::regex_replace(page, std::regex(mark + "-community"), "");
        EXPECT_EQ(page.find(mark), std::string::npos) << leaf;
    }
    expectInNoFile("stored");

    // Typed at the login.
    for (const std::string name : {"root", ""}) {
        const Fields typed = {{"username", name}, {"password", mark + "-login"}};
        const Response response = post(formData("form=login&action=login_userpass") + typed);
        EXPECT_EQ((response.body + log()).find(mark + "-login"), std::string::npos);
    }
}

} // namespace
} // namespace zandorin::test
