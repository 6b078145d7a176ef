#include "tests/support/request_test.h"

#include <unistd.h>

// What one address may have running at once.

namespace zandorin::test {
namespace {

class ProgramLimitTest : public RequestTest {};

TEST_F(ProgramLimitTest, OneAddressKeepsNobodyElseOut) {
    const auto from = [this](const std::string &address) {
        return start({{"REMOTE_ADDR", address}});
    };
    // Every page waits while configurators run.
    put("/var/run/configurators.pid", std::to_string(::getpid()) + "\n");
    std::vector<Running> waiting;
    for (int n = 0; n < 16; ++n)
        waiting.push_back(from("2001:db8::" + std::to_string(n)));
    waiting.push_back(from("192.0.2.2"));
    ::sleep(1); // all of them are counted by now
    const Response refused = from("2001:db8::f").finish();
    EXPECT_TRUE(refused.header.starts_with("HTTP/1.1 503 ")) << refused.header;
    EXPECT_TRUE(refused.body.starts_with("The console is busy")) << refused.body;
    remove("/var/run/configurators.pid");
    for (Running &each : waiting)
        EXPECT_TRUE(each.finish().header.starts_with("HTTP/1.1 200 "));
    EXPECT_TRUE(from("2001:db8::f").finish().header.starts_with("HTTP/1.1 200 "));
}

} // namespace
} // namespace zandorin::test
