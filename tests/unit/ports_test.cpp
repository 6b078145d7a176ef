#include "platform/ports/port_frames.h"
#include "platform/ports/port_log.h"
#include "platform/ports/port_status.h"
#include "platform/ports/terminal_ticket.h"
#include "services/ports/console_client.h"
#include "services/ports/states.h"
#include "services/quoting.h"
#include "tests/support/appliance_test.h"
#include "util/escape.h"
#include "util/files.h"
#include "util/paths.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace zandorin::ports {
namespace {

class Ports : public test::ApplianceTest {};

TEST_F(Ports, FramesArriveInAnyPieces) {
    std::string stream;
    const std::string large(longest_frame + 1, 'x');
    appendFrame(stream, 'D', "key");
    appendFrame(stream, 'B', "");
    appendFrame(stream, 'D', large);
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, stream.size()}) {
        FrameReader reader;
        std::string read;
        for (std::size_t at = 0; at < stream.size(); at += piece) {
            reader.add(std::string_view(stream).substr(at, piece));
            while (const auto frame = reader.next())
                read += frame->type + frame->payload;
        }
        EXPECT_EQ(read, "DkeyBD" + large.substr(1) + "Dx") << piece;
        EXPECT_EQ(reader.pending(), 0U);
    }
    FrameReader broken;
    broken.add("D\x40\x01");
    EXPECT_FALSE(broken.next());
    EXPECT_TRUE(broken.isBroken());
}

TEST_F(Ports, StatesComeBackAsTheyWere) {
    const std::vector<PortState> states = {
        {.number = 1, .state = "up", .received = 7, .signals = "DTR RTS", .last = "a\tb"},
        {.number = 2,
         .users = {
             {.user = "a@b", .writes = true, .since = 9, .idle = 3, .from = "::1", .via = "web"}}}};
    const auto again =
        readPortStates("noise\nuser\tnobody\n" + writePortStates(states) + "port\t3");
    ASSERT_EQ(again.size(), 2U);
    EXPECT_EQ(again[0].received, 7U);
    EXPECT_FALSE(again[0].sent);
    EXPECT_EQ(again[0].last, "a b");
    ASSERT_EQ(again[1].users.size(), 1U);
    EXPECT_EQ(again[1].users[0].user + again[1].users[0].from + again[1].users[0].via, "a@b::1web");
}

TEST_F(Ports, ATicketIsTakenOnceAndSoon) {
    zandorin::makeFolder(appliancePath("/var"), 0755);
    zandorin::makeFolder(appliancePath("/var/run"), 0755);
    const std::string id = issueTicket({.session = "s", .user = "anna", .target = "port3"});
    ASSERT_EQ(id.size(), 32U);
    const auto ticket = takeTicket(id);
    ASSERT_TRUE(ticket);
    EXPECT_EQ(ticket->user + ticket->target, "annaport3");
    EXPECT_FALSE(ticket->watches);
    EXPECT_FALSE(takeTicket(id)) << "a second time";

    const std::string late = issueTicket({.user = "anna"});
    const std::string path = appliancePath("/var/run/tickets/" + late);
    const timespec then[] = {{.tv_sec = 1000, .tv_nsec = 0}, {.tv_sec = 1000, .tv_nsec = 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), then, 0), 0);
    EXPECT_FALSE(takeTicket(late));

    // What is cut short only watches; what is no id names no file.
    const std::string cut = issueTicket({.user = "anna"});
    ASSERT_TRUE(replaceFile(appliancePath("/var/run/tickets/" + cut), "s\nanna\n", 0600));
    EXPECT_TRUE(takeTicket(cut).value_or(TerminalTicket{}).watches);
    for (const char *none : {"", "../tickets/x", "0123456789abcdef0123456789abcde/"})
        EXPECT_FALSE(takeTicket(none)) << none;
    EXPECT_EQ(issueTicket({.user = "anna\nroot"}), "");
}

TEST_F(Ports, LogsAreReadByWholeLines) {
    const std::string path = appliancePath("/log");
    const std::string filler(70000, 'y');
    const std::string text = "one\ntwo\n" + filler + "\nThree\nfour";
    ASSERT_TRUE(replaceFile(path, text, 0600));
    const auto newest = readLogBefore(path, text.size() + 9, 12);
    ASSERT_TRUE(newest);
    EXPECT_EQ(newest->text, "Three\nfour");
    EXPECT_EQ(readLogBefore(path, newest->from, 4)->to, newest->from);
    EXPECT_EQ(readLogBefore(path, 8, 5)->text, "two\n");
    EXPECT_EQ(readLogAfter(path, text.size() - 4, 100)->text, "four");
    EXPECT_EQ(readLogAfter(path, text.size() + 1, 3)->text, "one") << "it was begun anew";
    EXPECT_FALSE(readLogBefore(appliancePath("/none"), 9, 9));

    const auto found = findInLog(path, "E", 2); // the last two of "one", "Three"; any letter case
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].line + found[1].line, "one\nThree\n");
    EXPECT_EQ(findInLog(path, "e", 1)[0].to, text.size() - 4);
}

TEST_F(Ports, LogsAreShownWithoutWhatTerminalsDo) {
    const struct {
        const char *raw, *shown;
        bool stamps = false;
    } rows[] = {
        {"[Tue Nov 24 03:29:06 2026]ls\r\n[Tue Nov  4 03:29:06 2026]x", "ls\nx"},
        {"[Tue Nov 24 03:29:06 2026]ls\n", "[Tue Nov 24 03:29:06 2026]ls\n", true},
        {"[Tue Nov 24 03:29:0x 2026]ls", "[Tue Nov 24 03:29:0x 2026]ls"},
        {"\x1b[1;31mred\x1b[0m \x1b]0;title\a\x1b(Bend\a", "red Bend"},
        {"\x1b]0;no end\nnext\x1b", "0;no end\nnext"},
        {"a\x1b[", "a"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(readableLog(row.raw, row.stamps), row.shown) << row.raw;
    EXPECT_EQ(escapeUtf8Text("a<\xc3\xa9\xe2\x82\xac\xff\xc0\xaf\xed\xa0\x80"),
              "a&lt;&#233;&#8364;\xff\xc0\xaf\xed\xa0\x80");
}

TEST_F(Ports, NothingTypedIsACommandOfTheClient) {
    EXPECT_EQ(literalKeys("ls\r\x03\x05"), "ls\r\x03\x05");
    const std::string keys = literalKeys("\x1f"
                                         "c.\x1f"
                                         "c|");
    for (const char *command : {"c.", "c|"})
        EXPECT_EQ(keys.find(std::string("\x1f") + command), std::string::npos) << command;
    std::string output = "a[quote \\037]b[quote \\037]";
    unsigned expected = 1;
    dropQuotes(output, expected);
    EXPECT_EQ(output, "ab[quote \\037]");
    EXPECT_EQ(expected, 0U);
}

TEST_F(Ports, TheClientsWordsAreUnderstood) {
    Notices notices(true);
    EXPECT_FALSE(notices.read("hello [no"));
    EXPECT_TRUE(notices.writes());
    EXPECT_TRUE(notices.read(", anna@localhost is attached]"));
    EXPECT_FALSE(notices.writes());
    EXPECT_FALSE(notices.read("more"));
    notices.read("[bumped anna@localhost]");
    EXPECT_TRUE(notices.writes());
    notices.read("[bumped x]\r\n[forced to `spy' mode by anna@localhost]");
    EXPECT_FALSE(notices.writes()) << "the last word counts";

    const auto states = readConsoleStates(
        "noise\nport1:vm,1,2:/:/dev/x,9600n,9:w@anna@localhost@4,r@b@c@localhost@7@rw:up:rw:l:1\n");
    ASSERT_EQ(states.size(), 1U);
    ASSERT_EQ(states[0].users.size(), 2U);
    EXPECT_TRUE(states[0].users[0].writes);
    EXPECT_EQ(states[0].users[1].user, "b@c");
    EXPECT_EQ(states[0].users[1].idle, 7);

    Login login;
    std::string typed;
    ASSERT_TRUE(zandorin::makeFolder(appliancePath("/etc"), 0755));
    zandorin::makeFolder(appliancePath("/etc/conserver"), 0755);
    ASSERT_TRUE(replaceFile(appliancePath("/etc/conserver/secret"), "tell", 0600));
    EXPECT_EQ(login.read("Enter root@vm's pass", typed), "");
    EXPECT_EQ(login.read("word: ", typed), "");
    EXPECT_EQ(typed, "tell\n");
    EXPECT_EQ(login.read("\r\nEnter password: ", typed), "Enter password: ")
        << "a device that asks gets no secret";
    EXPECT_EQ(typed, "tell\n");
    Login open;
    EXPECT_EQ(open.read("End", typed), "End");
}

TEST_F(Ports, ConnectionsAreFoundInTheKernelsTables) {
    EXPECT_EQ(connectionsTo(4001, "  sl  local_address rem_address   st\n"
                                  "   0: 0100007F:0FA1 00000000:0000 0A 0\n"
                                  "   1: 0100007F:0FA1 0200007F:C35E 01 0\n"
                                  "   2: 0100007F:C35E 0100007F:0FA1 01 0\n")
                  .size(),
              1U);
}

TEST_F(Ports, TextsAreQuotedForTheDaemons) {
    EXPECT_EQ(services::conserverWord("a b;{\"\\\n"), "a\\ b\\;\\{\\\"\\\\");
    EXPECT_EQ(services::ser2netText("a\"b\\c*(d)*{e\n"), "\"a\\\"b\\\\c*(*d)*{*e\"");
}

} // namespace
} // namespace zandorin::ports
