#include "platform/pam-client/protocol.h"
#include "tests/support/appliance_test.h"
#include "tests/support/auth_messages.h"
#include "util/fd.h"

#include <crypt.h>
#include <csignal>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zandorin::auth {
namespace {

using test::bytes;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string end = bytes(Message::end);
const std::string refused = bytes(Message::helperError) + end;
const std::string authenticated = bytes(Message::authenticated) + end;

/// The real helper, with PAM and account files of the test's own.
class PamClient : public test::ApplianceTest {
  protected:
    void SetUp() override {
        ApplianceTest::SetUp();
        makeFolder("/var/run/.sessions");
        put(test::passwd,
            std::string("root:") + ::crypt("kestrel", "$6$saltsalt$") + ":0:0::/root:/bin/sh\n");
        put(test::group_file, "root:x:0:\n");
        put("/etc/pam.d/web", "auth required pam_unix.so nodelay\naccount required pam_unix.so\n");
    }

    void TearDown() override {
        if (pid_ > 0 && ::kill(pid_, SIGKILL) == 0)
            ::waitpid(pid_, nullptr, 0);
    }

    void start(const char *option = nullptr) {
        const std::string program = ZANDORIN_BIN_DIR "/pam-client";
        pid_ = ::fork();
        if (pid_ == 0) {
            ::setenv("LD_PRELOAD", "libnss_wrapper.so", 1);
            // The sanitizers cannot be loaded under libraries that bind to themselves first.
            ::setenv("NSS_WRAPPER_DISABLE_DEEPBIND", "1", 1);
            ::setenv("NSS_WRAPPER_PASSWD", onHost(test::passwd).c_str(), 1);
            ::setenv("NSS_WRAPPER_GROUP", onHost(test::group_file).c_str(), 1);
            ::execl(program.c_str(), program.c_str(), option, nullptr);
            ::_exit(127);
        }
        ASSERT_TRUE(test::waitFor([this] { return exists(socket()); }));
    }

    /// A connection over which `request` was sent.
    UniqueFd send(const std::string &request) const {
        sockaddr_un address;
        UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_TRUE(fillAddress(pid_, address) && setTimeout(socket.get(), 10));
        // A socket that has its name already may not listen yet.
        EXPECT_TRUE(test::waitFor([&] {
            return ::connect(socket.get(), reinterpret_cast<sockaddr *>(&address),
                             sizeof address) == 0;
        }));
        EXPECT_GT(::send(socket.get(), request.data(), request.size(), MSG_NOSIGNAL), 0);
        return socket;
    }

    /// Everything the helper says until it closes.
    static std::string receive(const UniqueFd &socket) {
        std::string all;
        char part[256];
        for (ssize_t got = 0; (got = ::recv(socket.get(), part, sizeof part, 0)) > 0;)
            all.append(part, static_cast<std::size_t>(got));
        return all;
    }

    std::string ask(const std::string &request) const { return receive(send(request)); }

    static std::string login(const std::string &user, const std::string &password) {
        return bytes(Message::username, user) + bytes(Message::clientAddress, "192.0.2.1") +
               bytes(Message::reply, password) + end;
    }

    std::string show(const std::string &id, const std::string &more = "") const {
        return ask(bytes(Message::clientAddress, "192.0.2.1") + bytes(Message::sessionId, id) +
                   more + end);
    }

    /// An answer of the helper to that session, which ends with `rest`.
    static std::string answerTo(const std::string &id, const std::string &rest) {
        return bytes(Message::sessionId, id) + rest;
    }

    /// Takes the session id off an answer.
    static std::string takeId(std::string &answer, std::size_t length = 32) {
        const std::size_t before = 1 + sizeof(std::uint32_t);
        const std::string id = answer.size() < before ? "" : answer.substr(before, length);
        EXPECT_THAT(answer, StartsWith(bytes(Message::sessionId, id)));
        EXPECT_EQ(id.find_first_not_of("0123456789abcdef"), std::string::npos) << id;
        answer.erase(0, before + length);
        return id;
    }

    std::string socket() const { return "/var/run/auth-" + std::to_string(pid_); }

    /// The helper's exit status, waited for for at most `seconds`; -1 when it goes on.
    int ended(int seconds) {
        int status = 0;
        // By the clock: the helper's own patience goes on while this machine is busy elsewhere.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
        while (::waitpid(pid_, &status, WNOHANG) != pid_) {
            if (std::chrono::steady_clock::now() > deadline)
                return -1;
            ::poll(nullptr, 0, 10);
        }
        EXPECT_FALSE(exists(socket()));
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    pid_t pid_ = -1;
};

TEST_F(PamClient, AuthenticatesAndEndsWithItsSession) {
    start();
    EXPECT_EQ(modeOf(socket()), 0600U);
    std::string answer = ask(login("root", "kestrel"));
    const std::string id = takeId(answer);
    EXPECT_EQ(answer, authenticated);
    const std::string file = "/var/run/.sessions/session-" + id;
    put(file, "");

    const std::string state = answerTo(id, authenticated);
    EXPECT_EQ(show(id), state);
    EXPECT_EQ(show(id, bytes(Message::reply, "wrong")), state) << "the end stays the end";
    EXPECT_EQ(show(id.substr(1)), refused);
    EXPECT_EQ(show(std::string(32, '0')), refused);
    EXPECT_EQ(ask(login("root", "kestrel")), refused) << "one session a process";
    EXPECT_EQ(ended(2), -1);

    ASSERT_EQ(::unlink(onHost(file).c_str()), 0);
    EXPECT_EQ(ended(5), 0);
}

TEST_F(PamClient, RejectsWhomPamRejects) {
    const struct {
        const char *user;
        std::string password;
        Message state = Message::rejected;
        const char *service = "auth required pam_unix.so nodelay\naccount required pam_unix.so\n";
    } rows[] = {
        {"root", "kestre"},
        {"root", ""},
        {"(empty username)", "kestrel"},
        {"root", std::string(5000, 'x'), Message::helperError},
        {"root", "kestrel", Message::rejected,
         "auth required pam_unix.so\naccount required pam_deny.so\n"},
        {"root", "kestrel", Message::helperError, "auth required pam_none.so\n"},
    };
    for (const auto &row : rows) {
        put("/etc/pam.d/web", row.service);
        start("-o");
        std::string answer = ask(login(row.user, row.password));
        const std::string id = takeId(answer, 16);
        EXPECT_EQ(answer, bytes(row.state) + end) << row.user << row.password << row.service;
        EXPECT_EQ(show(id), answerTo(id, bytes(row.state) + end));
        TearDown();
    }
}

TEST_F(PamClient, RelaysASecondPromptUntilItIsAnswered) {
    put("/etc/hint", "See your token.\n");
    put("/etc/pam.d/web",
        "auth required pam_unix.so\nauth optional pam_echo.so file=" + onHost("/etc/hint") +
            "\nauth required pam_oath.so usersfile=" + onHost("/etc/users.oath") +
            " window=5\naccount required pam_permit.so\n");
    for (const bool isRight : {true, false}) {
        // The secret and the codes of RFC 4226, appendix D.
        put("/etc/users.oath", "HOTP root - 3132333435363738393031323334353637383930\n", 0600);
        start();
        std::string answer = ask(login("root", "kestrel"));
        const std::string challenge = answer;
        const std::string id = takeId(answer);
        EXPECT_THAT(answer, StartsWith(bytes(Message::challenge)));
        EXPECT_THAT(answer, HasSubstr("See your token.\nOne-time password (OATH) for `root': "));
        EXPECT_EQ(show(id), challenge) << "asked again";
        EXPECT_EQ(show("", bytes(Message::reply, "755224")), refused);
        EXPECT_EQ(ask(bytes(Message::reply, "755224") + end), refused);
        send(bytes(Message::sessionId, id) + bytes(Message::reply, "000000")); // hangs up
        EXPECT_EQ(show(id), challenge) << "nothing was taken from a torn request";
        // The client goes away before it has heard the end, which changes nothing.
        send(bytes(Message::sessionId, id) + bytes(Message::reply, isRight ? "755224" : "123456") +
             end);
        EXPECT_EQ(show(id), answerTo(id, isRight ? authenticated : bytes(Message::rejected) + end));
        TearDown();
    }
}

TEST_F(PamClient, SurvivesRequestsThatAreNone) {
    const std::string whole = login("root", "kestrel");
    start();
    EXPECT_EQ(ask(bytes(Message::username, "root") + end), refused) << "no password";
    EXPECT_EQ(ask(whole.substr(0, whole.size() - 1)), "") << "goes silent";
    std::string answer = ask(whole);
    takeId(answer);
    EXPECT_EQ(answer, authenticated);
}

TEST_F(PamClient, EndsOnATermSignalEvenWhilePamSleeps) {
    put("/etc/pam.d/web", "auth required pam_faildelay.so delay=9000000\n"
                          "auth required pam_unix.so\n");
    start();
    const UniqueFd waiting = send(login("root", "wrong"));
    ::poll(nullptr, 0, 500);
    ::kill(pid_, SIGTERM);
    EXPECT_EQ(ended(2), 0);
}

TEST_F(PamClient, EndsWhenNoSessionComesOfIt) {
    start();
    std::string answer = ask(login("root", "kestrel"));
    const std::string id = takeId(answer);
    EXPECT_EQ(ended(8), -1);
    EXPECT_EQ(show(id), answerTo(id, answer));
    EXPECT_EQ(ended(5), 0);
}

} // namespace
} // namespace zandorin::auth
