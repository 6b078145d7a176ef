#include "tests/support/request_test.h"
#include "util/process_pipe.h"
#include "util/strings.h"

#include <csignal>

namespace zandorin::test {
namespace {

class LldpStatus : public RequestTest {
  protected:
    /// Stands in for the LLDP client; "$*" are the words it was called with.
    void putClient(const std::string &script) { putProgram("/sbin/lldpcli", script); }
    Response page() { return get("form=lldpstatus"); }
};

std::string row(const std::string &label, const std::string &value) {
    return "width=\"22%\">" + label + "&nbsp;</td><td class=\"field-input\" width=\"78%\">" +
           value + "&nbsp;</td>";
}

TEST_F(LldpStatus, ShowsNeighborsAndTheAppliance) {
    putClient("test \"$1 $2 $3\" = '-f keyvalue show' && test \"$5\" = details || exit 2\n"
              "case $4 in\n"
              "neighbor)\n"
              "echo lldp.eth0.chassis.name=rack12-top.example.net\n"
              "echo lldp.eth0.vlan.vlan-id=40\n"
              "echo lldp.eth0.vlan=management\n"
              "echo lldp.eth1.chassis.name=pdu-7;;\n"
              "chassis) echo local-chassis.chassis.name=console-1;;\n"
              "esac\n");
    const Response response = page();
    EXPECT_EQ(response.lacks({"Neighbor on eth0", row("System name", "rack12-top.example.net"),
                              row("vlan.vlan-id", "40"), "Neighbor on eth1", "This appliance",
                              row("System name", "console-1")}),
              "");
    EXPECT_FALSE(response.has("LLDP client"));
}

TEST_F(LldpStatus, SaysWhatIsWrongWithTheClient) {
    EXPECT_TRUE(page().has("The LLDP client is not installed: /sbin/lldpcli&nbsp;</td>"));
    const std::pair<const char *, const char *> rows[] = {
        {"exit 1\n", "The LLDP client gave no full answer (exit 1). Is the LLDP service running?"},
        {"kill -KILL $$\n", "The LLDP client gave no full answer (Killed)."},
        {"echo unable to connect\n", "No neighbor has announced itself."},
        {"yes local-chassis.a=1\n", "The LLDP client gave no full answer (incomplete)."},
    };
    for (const auto &[script, text] : rows) {
        putClient(script);
        EXPECT_TRUE(page().has(text)) << script;
    }
    EXPECT_NE(log().find("lldpcli missing expected 'local-chassis.'"), std::string::npos);
}

TEST_F(LldpStatus, ComesWhenTheClientHangsAndEndsIt) {
    putClient("trap 'kill $!; touch \"$ZANDORIN_ROOT/tmp/ended\"; exit' TERM\n"
              "echo local-chassis.chassis.name=console-1\n"
              "sleep 30 &\n"
              "wait\n");
    const auto start = std::chrono::steady_clock::now();
    const Response response = page();
    const auto taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken, std::chrono::seconds(5));
    EXPECT_LT(taken, std::chrono::seconds(9)) << "one time-out, not one for each question";
    EXPECT_EQ(response.lacks({"The LLDP client gave no full answer (incomplete).", "console-1"}),
              "");
    EXPECT_TRUE(response.body.ends_with("</html>\n"));
    EXPECT_TRUE(waitFor([] { return exists("/tmp/ended"); }));
}

TEST_F(LldpStatus, ShowsTheNeighborOfARealDaemon) {
    ipipestream daemons(
        "exec 2>/dev/null; unshare --net --mount true || { echo skip no namespaces; exit; }; "
        "exec unshare --net --mount '" ZANDORIN_SOURCE_DIR "/tests/support/lldpd_pair'",
        15000);
    std::string word;
    std::string rest;
    std::getline(daemons >> word >> std::ws, rest);
    if (word == "skip")
        GTEST_SKIP() << "LLDP daemons cannot be run here: " << rest;
    ASSERT_EQ(word, "ready") << rest;
    putClient("unset LD_PRELOAD\n"
              "PATH=$PATH:/usr/sbin:/sbin exec lldpcli -u " +
              shellQuote(rest + "/near.sock") + " \"$@\"\n");
    const Response response = page();
    EXPECT_EQ(response.lacks({"Neighbor on near0", row("Port description", "far0"),
                              row("System description", "far &lt;b&gt;system&lt;/b&gt;"),
                              row("System description", "near system")}),
              "");
    EXPECT_FALSE(response.has("LLDP client"));
    EXPECT_EQ(daemons.kill(SIGTERM), 0);
    EXPECT_TRUE(daemons.success(5000)) << daemons.status_string();
}

} // namespace
} // namespace zandorin::test
