#include "tests/request/users_page.h"

#include <csignal>

// Changes of the configuration and of login accounts that are killed, or have a system call fail,
// at each point of them: what a kill leaves is also what a reader can come across. strace(1) does
// it.

namespace zandorin::test {
namespace {

constexpr const char *folder = "/etc/config";
constexpr const char *kept = "/tmp/kept";
constexpr const char *users_lock = "/etc/config/.settings.lock";

struct Change {
    const char *name;
    Fields fields;
    const char *done; ///< of the page that was answered
    const char *first = users_lock;
    // Regular expressions: of paths whose calls fail, and of how the page tells that.
    const char *files = "/etc/config[/\">]";
    const char *told = "error-message|<b>Fatal</b>";

    friend void PrintTo(const Change &change, std::ostream *out) { *out << change.name; }
};

const Change changes[] = {
    {"AddUser", userFields(3, "", "joe", "secret-3", {{"group.ops", "on"}}), " has been saved."},
    {"RenameUser", userFields(1, "ann", "joe", "********"), " has been saved."},
    {"ChangePassword", userFields(1, "ann", "ann", "secret-3"), " has been saved."},
    {"DeleteUser", question("delete", "user", 1, "ann"), " has been deleted."},
    {"AddGroup", groupFields(8, "", "night", {{"role.status", "on"}}), " has been saved."},
    {"RenameGroup", groupFields(7, "ops", "night"), " has been saved."},
    {"SaveSettings", formData("form=t&apply=on&config.t.a=new"),
     "Changes to configuration succeeded.", config_file, "/etc/config(/\\.|/config\\.xml|[\">])",
     "<b>Fatal</b></font> Failed to (save configuration changes|read configuration)[.]</p>"},
};

/// A system call of a recorded request.
struct Call {
    std::string name;
    int ordinal;      ///< among the calls of that name since the program's start
    std::string line; ///< strace's, with the path of each descriptor
};

/// A call after which files and folders are as they were before it.
bool onlyLooks(const Call &call) {
    static const std::set<std::string> looks = {
        "access",    "brk",          "clock_gettime",  "close",   "fcntl",
        "fstat",     "getdents64",   "getegid",        "geteuid", "getpid",
        "getrandom", "getuid",       "lseek",          "lstat",   "mmap",
        "mprotect",  "munmap",       "newfstatat",     "poll",    "clock_nanosleep",
        "wait4",     "waitid",       "pipe2",          "pread64", "read",
        "readlink",  "rt_sigaction", "rt_sigprocmask", "stat",    "umask"};
    return looks.contains(call.name) ||
           (call.name == "openat" && call.line.find("O_CREAT") == std::string::npos &&
            call.line.find("O_TRUNC") == std::string::npos);
}

/// What the appliance holds, fit to be compared: a salted hash is the password that it is of.
struct State {
    std::string accounts;
    std::string groups;
    std::string configuration;
    std::set<std::string> homes; ///< all paths in the folder of home folders

    bool operator==(const State &) const = default;
};

class Fault : public Users {
  protected:
    void SetUp() override {
        if (std::system("strace -o /dev/null true >/dev/null 2>&1") != 0)
            GTEST_SKIP() << "strace cannot trace processes here";
        // The names in a folder are read anew for some seconds, and then from a snapshot.
        fs::remove_all(onHost("/home/httpd/pixmaps"));
        addPage("t", "CGI_CALL(ui::addElement,config.t.a,A)", "");
        configure("config.t.a", "old");
        for (const Fields &fields :
             {groupFields(7, "", "ops"), userFields(1, "", "ann", "secret-1"),
              userFields(2, "", "bea", "secret-2")})
            ASSERT_TRUE(post(fields).has(" has been saved."));
        put("/etc/config/users/ann/notes", "hers");
    }

    State state() const {
        State now{.accounts = read(passwd),
                  .groups = read(group_file),
                  .configuration = configuration(),
                  .homes = {}};
        for (const char *name : {"ann", "bea", "joe"})
            for (const char *password : {"secret-1", "secret-2", "secret-3"})
                if (const std::string hash = hashOf(name); hasPassword(name, password))
                    now.accounts.replace(now.accounts.find(hash), hash.size(), password);
        const fs::path homes = onHost("/etc/config/users");
        for (const auto &entry : fs::recursive_directory_iterator(homes))
            now.homes.insert(fs::relative(entry.path(), homes).string());
        return now;
    }

    /// Each file as a whole must be the old or the new one.
    void expectBetween(const State &now, const Call &call) const {
        for (const auto part : {&State::accounts, &State::groups, &State::configuration})
            EXPECT_TRUE(now.*part == before_.*part || now.*part == after_.*part)
                << call.line << "\n"
                << now.*part;
    }

    /// Posts the fields by way of strace with these options.
    Response trace(const Fields &fields, std::vector<std::string> options) {
        // The leak checker cannot work while the process is traced.
        options.insert(options.begin(), {"env", "ASAN_OPTIONS=detect_leaks=0", "strace", "-o",
                                         onHost("/tmp/trace")});
        // Refreshed or not as the second goes, a session would be written or not.
        for (const auto &session : fs::directory_iterator(onHost("/var/run/.sessions")))
            fs::remove(session.path());
        const std::string cookie = login("root", "fixed");
        const std::string session = "/var/run/.sessions/session-fixed";
        put(session,
            std::regex_replace(read(session), std::regex("refresh = true"), "refresh = false"));
        return startPost(fields, cookie, options).finish();
    }

    /// The same with one call going wrong, upon the configuration as it was at first.
    Response traceFault(const Fields &fields, const Call &call, const std::string &fault) {
        restore();
        return trace(fields, {"-e", "trace=" + call.name, "-e",
                              "inject=" + call.name + ":" + fault +
                                  ":when=" + std::to_string(call.ordinal)});
    }

    /// The calls from the first that names `first` to the last that names /etc/config.
    std::vector<Call> record(const Fields &fields, std::string_view first) {
        before_ = state();
        fs::copy(onHost(folder), onHost(kept), fs::copy_options::recursive);
        // Every later run finds the snapshots that one leaves, of a configuration that was put
        // back.
        EXPECT_EQ(trace(fields, {"-y"}).status, 0);
        restore();
        EXPECT_EQ(trace(fields, {"-y"}).status, 0);
        after_ = state();
        EXPECT_NE(before_, after_);
        std::vector<Call> calls;
        std::map<std::string, int> counts;
        std::istringstream lines(read("/tmp/trace"));
        for (std::string line; std::getline(lines, line);) {
            const auto bracket = line.find('(');
            if (bracket == std::string::npos || line[0] == '+' || line[0] == '-')
                continue;
            const std::string name = line.substr(0, bracket);
            const int ordinal = ++counts[name];
            if (!calls.empty() || line.find(first) != std::string::npos)
                calls.push_back({name, ordinal, line});
        }
        while (!calls.empty() && calls.back().line.find(folder) == std::string::npos)
            calls.pop_back();
        EXPECT_GT(calls.size(), 10U) << first;
        return calls;
    }

    bool hasTemporary() const {
        for (const auto &entry : fs::directory_iterator(onHost(folder)))
            if (entry.path().filename().string().starts_with(".new-"))
                return true;
        return false;
    }

    void restore() const {
        fs::remove_all(onHost(folder));
        fs::copy(onHost(kept), onHost(folder), fs::copy_options::recursive);
    }

    /// Kills the program at each call that finds something changed by the one before it. What is
    /// left is whole, and the request can be made again.
    void killEverywhere(const Fields &fields, std::string_view first) {
        const std::vector<Call> calls = record(fields, first);
        std::vector<State> seen; // what was found once and could be completed
        std::size_t kills = 0;
        std::size_t points = 0;
        bool changed = true; // since the last kill
        bool swept = false;
        for (const Call &call : calls) {
            if (!std::exchange(changed, !onlyLooks(call)))
                continue;
            ++points;
            kills += traceFault(fields, call, "signal=KILL").status == 128 + SIGKILL ? 1 : 0;
            const State now = state();
            expectBetween(now, call);
            // Once, too, with what a writer that was killed leaves behind.
            const bool isSwept = !hasTemporary() || std::exchange(swept, true);
            if (isSwept && std::find(seen.begin(), seen.end(), now) != seen.end())
                continue;
            seen.push_back(now);
            post(fields);
            EXPECT_EQ(state(), after_) << call.line;
            EXPECT_FALSE(hasTemporary()) << call.line;
        }
        EXPECT_GT(points, 5U);
        // What waits for a process may take a call more or less than when it was recorded.
        EXPECT_GE(kills * 5, points * 4);
        EXPECT_GE(seen.size(), 2U) << "the old state and the new one";
    }

    State before_, after_;
};

class FaultOf : public Fault, public ::testing::WithParamInterface<Change> {};

TEST_P(FaultOf, AKillLeavesWholeFilesAndAChangeThatCanBeRepeated) {
    killEverywhere(GetParam().fields, GetParam().first);
}

TEST_F(Fault, AKillLeavesACommitThatCanBeRepeated) {
    configure("config.delayed", "on");
    ASSERT_TRUE(post("form=t&apply=on&config.t.a=new").has("queued"));
    killEverywhere({{"form", "commit"}, {"apply", "on"}}, config_file);
    EXPECT_FALSE(exists("/etc/config/delayed/config.xml"));
}

TEST_P(FaultOf, AFailedCallIsToldAndLosesNothing) {
    const std::map<std::string, std::string> failures = {
        {"openat", "error=ENOSPC"}, {"write", "error=ENOSPC"}, {"fsync", "error=EIO"},
        {"rename", "error=ENOSPC"}, {"fchmod", "error=EIO"},   {"close", "error=EIO"},
        {"flock", "error=EIO"}};
    expectLog("Failed to ");
    expectLog("Unable to open file: /etc/config/group");
    expectLog("The login accounts can not be read.");
    std::map<std::string, int> told;
    for (const Call &call : record(GetParam().fields, GetParam().first)) {
        const auto failure = failures.find(call.name);
        // An injected failure of close(2) leaves the file open, and a lock would stay taken.
        const bool keepsLock = call.name == "close" && call.line.find("lock>") != std::string::npos;
        if (failure == failures.end() || keepsLock ||
            !std::regex_search(call.line, std::regex(GetParam().files)))
            continue;
        const Response response = traceFault(GetParam().fields, call, failure->second);
        EXPECT_EQ(response.status, 0) << call.line;
        EXPECT_TRUE(response.body.ends_with("</html>\n")) << call.line;
        EXPECT_FALSE(hasTemporary()) << call.line;
        State now = state();
        expectBetween(now, call);
        const bool done = response.has(GetParam().done);
        const bool isTold = std::regex_search(response.body, std::regex(GetParam().told));
        EXPECT_NE(done, isTold) << call.line;
        EXPECT_FALSE(done && call.name == "fsync" && call.line.find("/.new-") != std::string::npos)
            << "not known to be on the disk: " << call.line;
        if (!done)
            post(GetParam().fields);
        else
            now.homes = after_.homes;
        EXPECT_EQ(done ? now : state(), after_) << call.line;
        told[call.name] += isTold ? 1 : 0;
    }
    for (const char *name : {"openat", "write", "fsync", "rename", "flock"})
        EXPECT_GT(told[name], 0) << name << ": no failure of it was told";
}

INSTANTIATE_TEST_SUITE_P(Changes, FaultOf, ::testing::ValuesIn(changes),
                         [](const auto &parameter) { return parameter.param.name; });

} // namespace
} // namespace zandorin::test
