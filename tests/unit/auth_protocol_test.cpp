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

TEST_F(AuthProtocol, WritesTypeLengthAndText) {
    EXPECT_TRUE(sendMessage(here_.get(), Message::username, "root"));
    EXPECT_TRUE(sendMessage(here_.get(), Message::reply, ""));
    EXPECT_TRUE(sendMessage(here_.get(), Message::end));
    EXPECT_FALSE(sendMessage(here_.get(), Message::reply, std::string(max_text + 1, 'x')));
    const std::string all =
        bytes(Message::username, "root") + bytes(Message::reply, "") + bytes(Message::end);
    char part[100];
    here_.reset();
    ASSERT_EQ(::read(peer_.get(), part, sizeof part), static_cast<ssize_t>(all.size()));
    EXPECT_EQ(std::string(part, all.size()), all);
}

TEST_F(AuthProtocol, WritingFailsWhenThePeerDoesNotReadOrHasGone) {
    bool sent = true;
    for (int i = 0; sent && i < 100; ++i)
        sent = sendMessage(here_.get(), Message::reply, std::string(max_text, 'x'));
    EXPECT_FALSE(sent);
    peer_.reset();
    EXPECT_FALSE(sendMessage(here_.get(), Message::username, "root"));
}

TEST_F(AuthProtocol, ReadsTextsAndRefusesTornOrOversizedOnes) {
    const std::string longest(max_text, 'x');
    const std::tuple<const char *, std::string, bool, std::optional<std::string>> rows[] = {
        {"as long as may be", bytes(Message::challenge, longest), true, longest},
        {"too long by one", bytes(Message::challenge, longest + "x"), true, std::nullopt},
        {"4 GB announced", bytes(Message::challenge, "abc", 0xffffffff), false, std::nullopt},
        {"goes silent", bytes(Message::challenge, "abc", 4), false, std::nullopt},
    };
    for (const auto &[name, sent, closes, text] : rows) {
        SetUp();
        ASSERT_EQ(::send(peer_.get(), sent.data(), sent.size(), 0),
                  static_cast<ssize_t>(sent.size()));
        if (closes)
            peer_.reset();
        EXPECT_EQ(readType(here_.get()), static_cast<std::uint8_t>(Message::challenge)) << name;
        EXPECT_EQ(readText(here_.get()), text) << name;
    }
    EXPECT_EQ(readType(here_.get()), std::nullopt) << "silent peer";
}

} // namespace
} // namespace zandorin::auth
