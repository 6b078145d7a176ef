#include "platform/libzdsupport/clock.h"
#include "platform/libzdsupport/infod.h"
#include "platform/libzdsupport/pidfile.h"
#include "platform/libzdsupport/process.h"
#include "tests/support/appliance_test.h"
#include "util/fd.h"

#include <cerrno>
#include <csignal>

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zandorin {
namespace {

class SupportLibrary : public test::ApplianceTest {
  protected:
    void SetUp() override {
        ApplianceTest::SetUp();
        makeFolder("/var/run");
    }
};

TEST_F(SupportLibrary, PidFileTellsALivingHolder) {
    // Exits with 0 when the file names another process that lives, and that it may not clear.
    const auto child = [] {
        const pid_t other = ::fork();
        if (other == 0)
            ::_exit(pidfile_valid("busy") == 0 && pidfile_clear("busy") == -1 &&
                            pidfile_create("busy") == -1 && errno == EBUSY
                        ? 0
                        : 1);
        int status = -1;
        ::waitpid(other, &status, 0);
        return std::pair(other, status);
    };
    EXPECT_EQ(pidfile_clear("busy"), -1);
    ASSERT_EQ(pidfile_create("busy"), 0);
    EXPECT_NE(pidfile_valid("busy"), 0);
    const auto [ended, status] = child();
    EXPECT_EQ(status, 0);
    EXPECT_EQ(pidfile_clear("busy"), 0);
    EXPECT_FALSE(exists("/var/run/busy.pid"));

    const pid_t zombie = ::fork();
    if (zombie == 0)
        ::_exit(0);
    siginfo_t info = {};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(zombie), &info, WEXITED | WNOWAIT), 0);
    const std::string parent = std::to_string(::getppid());
    const std::pair<std::string, bool> rows[] = {
        {parent + "\n", true},
        {parent + "\n1\n", false}, // the second started at another
                                   // time
        {std::to_string(ended), false},
        {std::to_string(zombie), false}, // ended, and this test has not asked for its status
        {"\xff\x01 x", false},
        {"1", false},
        {"-" + parent, false},
        {"4294967298", false},
    };
    for (const auto &[contents, held] : rows) {
        put("/var/run/busy.pid", contents);
        EXPECT_EQ(pidfile_valid("busy") == 0, held) << contents;
        EXPECT_EQ(pidfile_clear("busy"), -1) << contents;
    }
    ::waitpid(zombie, nullptr, 0);
    for (const char *name : {"", "../run/busy", "busy.pid"})
        EXPECT_EQ(pidfile_create(name), -1) << name;
}

TEST_F(SupportLibrary, OfManyAtOnceOneTakesThePidFile) {
    constexpr int many = 8;
    for (int round = 0; round < 20; ++round) {
        int go[2];
        int end[2];
        ASSERT_TRUE(::pipe(go) == 0 && ::pipe(end) == 0);
        for (int i = 0; i < many; ++i) {
            if (::fork() != 0)
                continue;
            ::close(go[1]);
            ::close(end[1]);
            char byte = 0;
            [[maybe_unused]] ssize_t none = ::read(go[0], &byte, 1);
            if (pidfile_create("busy") == -1)
                ::_exit(1);
            none = ::read(end[0], &byte, 1); // lives until the others have tried
            ::_exit(0);
        }
        ::close(go[1]);
        int refused = 0;
        for (int status = 0; refused < many - 1 && ::wait(&status) > 0 && status != 0;)
            ++refused;
        ::close(end[1]);
        int status = -1;
        EXPECT_TRUE(::wait(&status) > 0 && status == 0);
        EXPECT_EQ(refused, many - 1);
        for (const int fd : {go[0], end[0]})
            ::close(fd);
    }
}

TEST_F(SupportLibrary, ProgramIsStartedAndLeftAlone) {
    putProgram("/program", "exec sleep 30");
    put("/not-executable", "x");
    const auto openDescriptors = [] {
        using Entries = std::filesystem::directory_iterator;
        return std::distance(Entries("/proc/self/fd"), Entries());
    };
    const auto before = openDescriptors();
    while (::waitpid(-1, nullptr, WNOHANG) > 0) { // what other tests have left
    }
    const std::tuple<const char *, int> rows[] = {
        {"/program", 0}, {"/none", ENOENT}, {"/not-executable", EACCES}, {"/", EACCES}};
    for (const auto &[path, failure] : rows) {
        const std::string full = onHost(path);
        const char *const arguments[] = {full.c_str(), nullptr};
        const pid_t pid = zandorin_proc_exec_nowait(arguments);
        EXPECT_EQ(pid > 1 ? 0 : errno, failure) << path;
        // No child of this process, which has nothing to wait for.
        const pid_t child = ::waitpid(-1, nullptr, WNOHANG);
        EXPECT_EQ(child == -1 ? errno : 0, ECHILD) << path;
        if (pid > 1)
            EXPECT_EQ(::kill(pid, SIGKILL), 0);
        else
            EXPECT_EQ(pid, -1) << path;
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(SupportLibrary, ClockOfTheMachineIsLeftAlone) {
    EXPECT_EQ(utilities::setSystemClock(86400), EPERM);
    EXPECT_GT(std::time(nullptr), 86400);
    EXPECT_FALSE(utilities::storeHardwareClock()) << "no such program";
    putProgram("/sbin/hwclock", "[ \"$*\" = '--systohc --utc' ]");
    EXPECT_TRUE(utilities::storeHardwareClock());
    putProgram("/sbin/hwclock", "exit 1");
    EXPECT_FALSE(utilities::storeHardwareClock());
}

TEST_F(SupportLibrary, StatusServiceIsNeverWaitedFor) {
    EXPECT_EQ(infod_push_text("k", 2, "nobody listens"), -1);
    sockaddr_un address = {AF_UNIX, ""};
    onHost("/var/run/infod.sock").copy(address.sun_path, sizeof address.sun_path - 1);
    const UniqueFd service(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(::bind(service.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    EXPECT_EQ(infod_push_text("config.webui.auth_event.login", 2, "root:[::1]:99"), 0);
    char datagram[256];
    const ssize_t got = ::recv(service.get(), datagram, sizeof datagram, 0);
    ASSERT_GT(got, 0);
    using namespace std::string_literals;
    EXPECT_EQ(std::string(datagram, static_cast<std::size_t>(got)),
              "config.webui.auth_event.login\0002\0root:[::1]:99"s);
    // The service stops reading: at some point a push fails at once.
    int pushed = 0;
    while (pushed < 100000 && infod_push_text("k", 2, "t") == 0)
        ++pushed;
    EXPECT_LT(pushed, 100000);
    EXPECT_EQ(infod_push_text(nullptr, 2, "t"), -1);
}

} // namespace
} // namespace zandorin
