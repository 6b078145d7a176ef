#include "tests/request/users_page.h"
#include "tests/support/fault_test.h"

#include <atomic>
#include <filesystem>
#include <future>
#include <regex>
#include <set>
#include <sstream>

#include <crypt.h>

// Changes of login accounts that are killed, fail, or are watched, at each point of them.

namespace zandorin::test {
namespace {

namespace fs = std::filesystem;

constexpr const char *lock = "/etc/config/.users.lock";
constexpr const char *group_file = "/etc/config/group";

struct Change {
    const char *name;
    Fields fields;
    const char *done; ///< of the page that was answered
};

const Change changes[] = {
    {"AddUser", userFields(3, "", "joe", "secret-3", {{"group.ops", "on"}}), " has been saved."},
    {"RenameUser", userFields(1, "ann", "joe", "********"), " has been saved."},
    {"ChangePassword", userFields(1, "ann", "ann", "secret-3"), " has been saved."},
    {"DeleteUser", question("delete", "user", 1, "ann"), " has been deleted."},
    {"AddGroup", groupFields(8, "", "night", {{"role.status", "on"}}), " has been saved."},
    {"RenameGroup", groupFields(7, "ops", "night"), " has been saved."},
};

class AccountFault : public FaultTest, public ::testing::WithParamInterface<Change> {
  protected:
    /// What the appliance holds, fit to be compared: a salted hash is the password that it is of.
    struct State {
        std::string accounts;
        std::string groups;
        std::string configuration;
        std::set<std::string> homes; ///< all paths in the folder of home folders

        bool operator==(const State &) const = default;
        friend void PrintTo(const State &state, std::ostream *out) {
            *out << "\n" << state.accounts << state.groups << state.configuration;
            for (const std::string &path : state.homes)
                *out << path << "\n";
        }
    };

    void SetUp() override {
        FaultTest::SetUp();
        if (IsSkipped())
            return;
        for (const Fields &fields :
             {groupFields(7, "", "ops"), userFields(1, "", "ann", "secret-1"),
              userFields(2, "", "bea", "secret-2")})
            ASSERT_TRUE(post(fields, login()).has(" has been saved."));
        put("/etc/config/users/ann/notes", "hers");
    }

    State state() const {
        State now{.accounts = "",
                  .groups = read(group_file),
                  .configuration = read(config_file),
                  .homes = {}};
        std::istringstream lines(read(passwd));
        for (std::string line; std::getline(lines, line); now.accounts += line + "\n")
            for (const char *password : {"secret-1", "secret-2", "secret-3"})
                line = withPassword(line, password);
        const fs::path homes = onHost("/etc/config/users");
        for (const auto &entry : fs::recursive_directory_iterator(homes))
            now.homes.insert(fs::relative(entry.path(), homes).string());
        return now;
    }

    /// Each file as a whole must be the old or the new one.
    static bool isBetween(const State &now, const State &before, const State &after) {
        const auto either = [&](auto part) {
            return now.*part == before.*part || now.*part == after.*part;
        };
        return either(&State::accounts) && either(&State::groups) && either(&State::configuration);
    }

  private:
    static std::string withPassword(const std::string &line, const std::string &password) {
        std::smatch match;
        if (!std::regex_search(line, match, std::regex(":(\\$1\\$[^:]*):")))
            return line;
        const std::string hash = match[1];
        const char *made = ::crypt(password.c_str(), hash.c_str());
        return made != nullptr && hash == made
                   ? match.prefix().str() + ":" + password + ":" + match.suffix().str()
                   : line;
    }
};

TEST_P(AccountFault, AKillLeavesWholeFilesAndAChangeThatCanBeRepeated) {
    const Fields &fields = GetParam().fields;
    const State before = state();
    const auto calls = record(fields, lock);
    const State after = state();
    ASSERT_NE(before, after);
    std::vector<State> seen; // what was found once and could be completed
    killAtEach(calls, fields, [&](const Call &call) {
        const State now = state();
        EXPECT_TRUE(isBetween(now, before, after)) << call.line << ::testing::PrintToString(now);
        if (std::find(seen.begin(), seen.end(), now) != seen.end())
            return;
        seen.push_back(now);
        post(fields, login());
        EXPECT_EQ(state(), after) << call.line;
    });
    EXPECT_GE(seen.size(), 2U) << "the old state and the new one";
}

TEST_P(AccountFault, AFailedCallIsToldAndLosesNothing) {
    const Fields &fields = GetParam().fields;
    const State before = state();
    const auto calls = record(fields, lock);
    const State after = state();
    expectLog("Failed to ");
    expectLog("Unable to open file: /etc/config/group");
    expectLog("The login accounts can not be read.");
    failAtEach(calls, "/etc/config[/\">]", fields, [&](const Call &call, const Response &response) {
        const State now = state();
        const bool done = response.has(GetParam().done);
        const bool told = response.has("error-message") || response.has("<b>Fatal</b>");
        EXPECT_NE(done, told) << call.line;
        EXPECT_TRUE(isBetween(now, before, after)) << call.line << ::testing::PrintToString(now);
        if (done) {
            EXPECT_EQ(now.accounts, after.accounts) << call.line;
            EXPECT_EQ(now.groups, after.groups) << call.line;
            EXPECT_EQ(now.configuration, after.configuration) << call.line;
        } else {
            post(fields, login());
            EXPECT_EQ(state(), after) << call.line;
        }
        return told;
    });
}

TEST_P(AccountFault, AReaderSeesWholeFilesAtAnyTime) {
    const State before = state();
    std::set<std::string> accounts;
    std::set<std::string> groups;
    int looks = 0;
    std::atomic<bool> over = false;
    auto reader = std::async(std::launch::async, [&] {
        for (bool last = false; !last; ++looks) {
            last = over;
            accounts.insert(read(passwd));
            groups.insert(read(group_file));
        }
    });
    // Slowly, so that the reader comes between any two calls.
    trace(GetParam().fields, {"-e", "trace=openat,write,rename,ftruncate,unlink", "-e",
                              "inject=openat,write,rename,ftruncate,unlink:delay_exit=1000"});
    over = true;
    reader.get();
    EXPECT_GT(looks, 50);
    const State after = state();
    ASSERT_NE(before, after);
    EXPECT_EQ(accounts.size(), before.accounts == after.accounts ? 1U : 2U);
    EXPECT_EQ(groups.size(), before.groups == after.groups ? 1U : 2U);
}

INSTANTIATE_TEST_SUITE_P(Changes, AccountFault, ::testing::ValuesIn(changes),
                         [](const auto &parameter) { return parameter.param.name; });

} // namespace
} // namespace zandorin::test
