#include "tests/support/testing.h"
#include "util/process_pipe.h"
#include "util/strings.h"

#include <cerrno>
#include <csignal>

namespace zandorin {
namespace {

std::string rest(std::istream &stream) {
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(ProcessPipe, ReadsOutputAndStatus) {
    const std::tuple<const char *, std::string, bool, const char *> rows[] = {
        {"echo a; echo b", "a\nb\n", true, "exit 0"},
        {"cat; exit 3", "", false, "exit 3"},
        {"kill -TERM $$", "", false, "Terminated"},
        {"/no/such/program 2>/dev/null", "", false, "exit 127"},
    };
    for (const auto &[command, output, success, status] : rows) {
        ipipestream pipe(command, 5000);
        EXPECT_EQ(rest(pipe), output) << command;
        EXPECT_EQ(pipe.success(), success) << command;
        EXPECT_EQ(pipe.status_string(), status) << command;
    }
}

TEST(ProcessPipe, QuotedTextIsOneWord) {
    const std::string text = "a'b''c $HOME `id` \\ \" \n*";
    ipipestream pipe("printf '<%s>' " + shellQuote(text) + shellQuote("'") + " " + shellQuote(""),
                     5000);
    EXPECT_EQ(rest(pipe), "<" + text + "'><>");
}

TEST(ProcessPipe, ASilentCommandEndsTheStreamNotTheRequest) {
    const auto start = std::chrono::steady_clock::now();
    ipipestream pipe("echo first; exec sleep 30", 200);
    EXPECT_EQ(rest(pipe), "first\n");
    errno = 0;
    EXPECT_FALSE(pipe.wait(0));
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(pipe.status_string(50), "incomplete");
    EXPECT_EQ(pipe.kill(SIGKILL), 0);
    EXPECT_EQ(pipe.status_string(5000), "Killed");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    errno = 0;
    EXPECT_EQ(pipe.kill(SIGTERM), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST(ProcessPipe, FourBytesCanBePutBackAfterARefill) {
    ipipestream pipe("head -c 128 /dev/zero | tr '\\0' a; sleep 0.2; printf bcd", 5000);
    std::string text(129, ' ');
    pipe.read(text.data(), 129);
    EXPECT_EQ(text.back(), 'b');
    for (int i = 0; i < 5; ++i)
        pipe.unget();
    EXPECT_TRUE(pipe.good());
    EXPECT_EQ(rest(pipe), "aaaabcd");
}

} // namespace
} // namespace zandorin
