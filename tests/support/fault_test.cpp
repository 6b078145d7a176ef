#include "tests/support/fault_test.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>
#include <utility>

namespace zandorin::test {

namespace fs = std::filesystem;

namespace {

constexpr const char *folder = "/etc/config";
constexpr const char *kept = "/tmp/kept";

/// Options that have one call go wrong.
std::vector<std::string> injection(const std::string &name, int ordinal, const std::string &fault) {
    return {"-e", "trace=" + name, "-e",
            "inject=" + name + ":" + fault + ":when=" + std::to_string(ordinal)};
}

/// A call after which files and folders are as they were before it.
bool onlyLooks(const std::string &name, const std::string &line) {
    static const std::set<std::string> looks = {
        "access",    "brk",          "clock_gettime",  "close",   "fcntl",
        "fstat",     "getdents64",   "getegid",        "geteuid", "getpid",
        "getrandom", "getuid",       "lseek",          "lstat",   "mmap",
        "mprotect",  "munmap",       "newfstatat",     "poll",    "clock_nanosleep",
        "wait4",     "waitid",       "pipe2",          "pread64", "read",
        "readlink",  "rt_sigaction", "rt_sigprocmask", "stat",    "umask"};
    return looks.contains(name) || (name == "openat" && line.find("O_CREAT") == std::string::npos &&
                                    line.find("O_TRUNC") == std::string::npos);
}

} // namespace

void FaultTest::SetUp() {
    if (std::system("strace -o /dev/null true >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "strace cannot trace processes here";
}

Response FaultTest::trace(const Fields &fields, std::vector<std::string> options) {
    options.insert(options.begin(), {"strace", "-o", onHost("/tmp/trace")});
    // Refreshed or not as the second goes, a session would be written or not.
    for (const auto &session : fs::directory_iterator(onHost("/var/run/.sessions")))
        fs::remove(session.path());
    const std::string cookie = login("root", "fixed");
    const std::string session = "/var/run/.sessions/session-fixed";
    put(session,
        std::regex_replace(read(session), std::regex("refresh = true"), "refresh = false"));
    return start({{"REQUEST_METHOD", "POST"},
                  {"CONTENT_TYPE", "application/x-www-form-urlencoded"},
                  {"HTTP_COOKIE", cookie},
                  // The leak checker cannot work while the process is traced.
                  {"ASAN_OPTIONS", "detect_leaks=0"}},
                 encode(fields), options)
        .finish();
}

std::vector<FaultTest::Call> FaultTest::record(const Fields &fields, std::string_view first) {
    fs::copy(onHost(folder), onHost(kept), fs::copy_options::recursive);
    // Every later run finds the snapshots that one leaves, of a configuration that was put back.
    EXPECT_EQ(trace(fields, {"-y"}).status, 0);
    restore();
    EXPECT_EQ(trace(fields, {"-y"}).status, 0);
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

void FaultTest::restore() const {
    fs::remove_all(onHost(folder));
    fs::copy(onHost(kept), onHost(folder), fs::copy_options::recursive);
}

void FaultTest::killAtEach(const std::vector<Call> &calls, const Fields &fields,
                           const std::function<void(const Call &)> &check) {
    constexpr int killed = 128 + SIGKILL;
    std::size_t kills = 0;
    std::size_t points = 0;
    bool changed = true; // since the last kill
    for (const Call &call : calls) {
        if (!std::exchange(changed, !onlyLooks(call.name, call.line)))
            continue;
        ++points;
        restore();
        const Response response = trace(fields, injection(call.name, call.ordinal, "signal=KILL"));
        kills += response.status == killed ? 1 : 0;
        check(call);
    }
    EXPECT_GT(points, 5U);
    // What waits for a process may take a call more or less than when it was recorded.
    EXPECT_GE(kills * 5, points * 4);
}

void FaultTest::failAtEach(const std::vector<Call> &calls, const std::string &files,
                           const Fields &fields,
                           const std::function<bool(const Call &, const Response &)> &check) {
    static const std::map<std::string, std::string> failures = {
        {"openat", "error=ENOSPC"}, {"write", "error=ENOSPC"}, {"fsync", "error=EIO"},
        {"rename", "error=ENOSPC"}, {"fchmod", "error=EIO"},   {"close", "error=EIO"},
        {"flock", "error=EIO"}};
    const std::regex path(files);
    std::map<std::string, int> told;
    for (const Call &call : calls) {
        const auto failure = failures.find(call.name);
        // An injected failure of close(2) leaves the file open, and a lock would stay taken.
        const bool keepsLock = call.name == "close" && call.line.find("lock>") != std::string::npos;
        if (failure == failures.end() || keepsLock || !std::regex_search(call.line, path))
            continue;
        restore();
        const Response response =
            trace(fields, injection(call.name, call.ordinal, failure->second));
        EXPECT_EQ(response.status, 0) << call.line;
        EXPECT_TRUE(response.body.ends_with("</html>\n")) << call.line;
        for (const auto &entry : fs::directory_iterator(onHost(folder)))
            EXPECT_FALSE(entry.path().filename().string().starts_with(".new-")) << call.line;
        told[call.name] += check(call, response) ? 1 : 0;
    }
    for (const char *name : {"openat", "write", "fsync", "rename", "flock"})
        EXPECT_GT(told[name], 0) << name << ": no failure of it was told";
}

} // namespace zandorin::test
