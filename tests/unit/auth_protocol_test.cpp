#include "platform/pam-client/protocol.h"
#include "tests/support/auth_messages.h"
#include "tests/support/testing.h"
#include "util/fd.h"

#include <sys/socket.h>
#include <unistd.h>

namespace zandorin::auth {
namespace {

using test::bytes;

class AuthProtocol : public ::testing::Test {
  protected:
    void SetUp() override {
        int ends[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        here_.reset(ends[0]);
        peer_.reset(ends[1]);
        ASSERT_TRUE(setTimeout(here_.get(), 1));
    }

    UniqueFd here_;
    UniqueFd peer_;
};

TEST_F(AuthProtocol, WritingFailsWhenThePeerDoesNotReadOrHasGone) {
    bool sent = true;
    for (int i = 0; sent && i < 100; ++i)
        sent = sendMessage(here_.get(), Message::reply, std::string(max_text, 'x'));
    EXPECT_FALSE(sent);
    peer_.reset();
    EXPECT_FALSE(sendMessage(here_.get(), Message::username, "root"));
}

TEST_F(AuthProtocol, TextsHaveALimit) {
    for (const bool isTooLong : {false, true}) {
        SetUp();
        const std::string text(max_text + (isTooLong ? 1 : 0), 'x');
        EXPECT_EQ(sendMessage(here_.get(), Message::reply, text), !isTooLong);
        const std::string sent = bytes(Message::challenge, text);
        ASSERT_EQ(::send(peer_.get(), sent.data(), sent.size(), 0),
                  static_cast<ssize_t>(sent.size()));
        EXPECT_EQ(readType(here_.get()), static_cast<std::uint8_t>(Message::challenge));
        EXPECT_EQ(readText(here_.get()).has_value(), !isTooLong);
    }
    SetUp();
    EXPECT_EQ(readType(here_.get()), std::nullopt) << "silent peer";
}

} // namespace
} // namespace zandorin::auth
