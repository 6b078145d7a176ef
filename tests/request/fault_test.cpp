#include "tests/support/request_test.h"

#include <cstdlib>
#include <filesystem>
#include <map>
#include <regex>
#include <sstream>

// Saving while the process is killed, or a system call fails, at each point of it. strace(1) does
// the killing and failing: `when` counts the calls of one name from the start of the program, so
// the points come from a run that was only recorded.

namespace zandorin::test {
namespace {

namespace fs = std::filesystem;

constexpr const char *config = "/etc/config/config.xml";
constexpr const char *delayed = "/etc/config/delayed/config.xml";
constexpr int killed = 128 + SIGKILL;

struct Call {
    std::string name;
    int ordinal;
    std::string line;

    std::string point(const std::string &fault) const {
        return "inject=" + name + ":" + fault + ":when=" + std::to_string(ordinal);
    }
};

class Fault : public RequestTest {
  protected:
    void SetUp() override {
        if (std::system("strace -o /dev/null true >/dev/null 2>&1") != 0)
            GTEST_SKIP() << "strace cannot trace processes here";
        addPage("t", "CGI_CALL(ui::addElement,config.t.a,A)", "");
        configure("config.t.a", "old");
    }

    /// The request under strace with these options.
    Response run(const Fields &fields, std::vector<std::string> options) {
        options.insert(options.begin(), {"strace", "-o", onHost("/tmp/trace")});
        return start({{"REQUEST_METHOD", "POST"},
                      {"CONTENT_TYPE", "application/x-www-form-urlencoded"},
                      {"HTTP_COOKIE", login()},
                      // The leak checker cannot work while the process is traced.
                      {"ASAN_OPTIONS", "detect_leaks=0"}},
                     encode(fields), options)
            .finish();
    }

    /// The system calls of the last run from the first on that opens the configuration.
    std::vector<Call> calls() const {
        std::vector<Call> found;
        std::map<std::string, int> counts;
        std::istringstream trace(read("/tmp/trace"));
        bool saving = false;
        for (std::string line; std::getline(trace, line);) {
            const auto bracket = line.find('(');
            if (bracket == std::string::npos || line[0] == '+' || line[0] == '-')
                continue;
            const std::string name = line.substr(0, bracket);
            const int ordinal = ++counts[name];
            saving = saving || line.find(config) != std::string::npos;
            if (saving && name != "exit_group")
                found.push_back({name, ordinal, line});
        }
        return found;
    }

    /// Runs the request once to its end, then killed at each call up to the last one that touches
    /// the configuration. Each time the stored file must be the old or the new one.
    void killEverywhere(const Fields &fields) {
        const fs::path folder = onHost("/etc/config");
        const fs::path saved = onHost("/tmp/saved");
        fs::copy(folder, saved, fs::copy_options::recursive);
        const std::string before = read(config);
        ASSERT_EQ(run(fields, {"-y"}).status, 0);
        const std::string after = read(config);
        ASSERT_NE(before, after);
        std::vector<Call> points = calls();
        while (!points.empty() && points.back().line.find("/etc/config") == std::string::npos)
            points.pop_back();
        ASSERT_GT(points.size(), 10U);
        std::size_t kills = 0;
        bool sawOld = false;
        bool sawNew = false;
        for (const Call &call : points) {
            fs::remove_all(folder);
            fs::copy(saved, folder, fs::copy_options::recursive);
            const Response response =
                run(fields, {"-e", "trace=" + call.name, "-e", call.point("signal=KILL")});
            kills += response.status == killed ? 1 : 0;
            const std::string stored = read(config);
            sawOld = sawOld || stored == before;
            sawNew = sawNew || stored == after;
            EXPECT_TRUE(stored == before || stored == after) << call.line << "\n" << stored;
            // Whatever was left behind, the request can be made again.
            post(fields, login());
            EXPECT_EQ(read(config), after) << call.line;
        }
        EXPECT_GT(kills, points.size() * 9 / 10);
        EXPECT_TRUE(sawOld && sawNew);
    }
};

TEST_F(Fault, AKillLeavesTheOldOrTheNewConfiguration) {
    killEverywhere({{"form", "t"}, {"apply", "on"}, {"config.t.a", "new"}});
}

TEST_F(Fault, AKillLeavesACommitThatCanBeRepeated) {
    configure("config.delayed", "on");
    ASSERT_TRUE(
        post({{"form", "t"}, {"apply", "on"}, {"config.t.a", "new"}}, login()).has("queued"));
    killEverywhere({{"form", "commit"}, {"apply", "on"}});
    EXPECT_FALSE(exists(delayed));
}

TEST_F(Fault, AFailedCallIsToldAndLosesNothing) {
    const Fields fields = {{"form", "t"}, {"apply", "on"}, {"config.t.a", "new"}};
    const std::string before = read(config);
    ASSERT_EQ(run(fields, {"-y"}).status, 0);
    const std::string after = read(config);
    ASSERT_NE(before, after);
    expectLog("Failed to ");
    const std::regex own("/etc/config(/\\.|/config\\.xml|[\">])");
    const std::map<std::string, std::string> failures = {
        {"openat", "error=ENOSPC"}, {"write", "error=ENOSPC"}, {"fsync", "error=EIO"},
        {"rename", "error=ENOSPC"}, {"fchmod", "error=EIO"},   {"close", "error=EIO"},
        {"flock", "error=EIO"}};
    std::map<std::string, int> told;
    for (const Call &call : calls()) {
        const auto failure = failures.find(call.name);
        if (failure == failures.end() || !std::regex_search(call.line, own))
            continue;
        put(config, before);
        const Response response =
            run(fields, {"-e", "trace=" + call.name, "-e", call.point(failure->second)});
        EXPECT_EQ(response.status, 0) << call.line;
        EXPECT_TRUE(response.body.ends_with("</html>\n")) << call.line;
        const std::string stored = read(config);
        const bool succeeded = response.has("Changes to configuration succeeded.");
        const bool saving = response.has("<b>Fatal</b></font> Failed to save configuration "
                                         "changes.</p>");
        const bool reading = response.has("<b>Fatal</b></font> Failed to read configuration.</p>");
        EXPECT_EQ(succeeded + saving + reading, 1) << call.line;
        EXPECT_TRUE(stored == before || stored == after) << call.line;
        EXPECT_TRUE(!succeeded || stored == after) << call.line;
        for (const auto &entry : fs::directory_iterator(onHost("/etc/config")))
            EXPECT_FALSE(entry.path().filename().string().starts_with(".new-")) << call.line;
        told[call.name] += saving ? 1 : 0;
    }
    for (const char *name : {"openat", "write", "fsync", "rename", "flock"})
        EXPECT_GT(told[name], 0) << name << ": no failure of it was told";
}

} // namespace
} // namespace zandorin::test
