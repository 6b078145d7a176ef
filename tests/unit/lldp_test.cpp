#include "tests/support/log_capture.h"
#include "util/lldp.h"

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

namespace zandorin {
namespace {

using Neighbours = std::map<std::string, LldpValues>;

Neighbours neighboursIn(const std::string &output) {
    std::istringstream stream(output);
    return parseLldpNeighbours(stream);
}

LldpValues chassisIn(const std::string &output) {
    std::istringstream stream(output);
    return parseLldpChassis(stream);
}

TEST(Lldp, ReadsRecordedNeighbours) {
    std::ifstream output(ZANDORIN_SOURCE_DIR "/tests/data/lldp-neighbors.txt");
    const Neighbours found = parseLldpNeighbours(output);
    ASSERT_EQ(found.size(), 2U);
    const LldpValues &top = found.at("eth0");
    EXPECT_EQ(top.size(), 20U);
    EXPECT_EQ(top.at("chassis.descr"), "Switch, 48 ports, version=7.2.1 build 44");
    EXPECT_EQ(top.at("chassis.mgmt-ip"), "2001:db8::12") << "the later of two";
    EXPECT_EQ(top.at("port.auto-negotiation.1000Base-T.fd"), "yes");
    EXPECT_EQ(found.at("eth1").at("chassis.descr"), "");
}

TEST(Lldp, ReadsWhatLinesMayLookLike) {
    const std::pair<std::string, Neighbours> rows[] = {
        {"lldp.e.a=1", {{"e", {{"a", "1"}}}}},
        {"lldp.e.a\nlldp.e\nlldp\nlldp.\nlldp.e.7.b=2\n", {{"e", {{"7.b", "2"}}}}},
        {"lldp..=\n", {{"", {{"", ""}}}}},
    };
    for (const auto &[output, neighbours] : rows)
        EXPECT_EQ(neighboursIn(output), neighbours) << output;
    EXPECT_EQ(chassisIn("local-chassis.chassis.name=a.b=c\nlocal-chassis\n"),
              (LldpValues{{"chassis.name", "a.b=c"}}));
}

TEST(Lldp, OtherOutputEmptiesTheAnswer) {
    const test::LogCapture log;
    for (const char *output :
         {"lldp.e.a=1\nlldpd is not running\n", "lldp.e.a=1\n\nlldp.e.b=2\n", "lldpx.e.a=1"}) {
        EXPECT_EQ(neighboursIn(output), Neighbours{}) << output;
        EXPECT_EQ(log.records().back(), "400 lldpcli missing expected 'lldp.'") << output;
    }
    EXPECT_EQ(log.records().size(), 3U);
    EXPECT_EQ(chassisIn("local-chassis.a=1\nlldp.e.a=1\n"), LldpValues{});
    EXPECT_TRUE(log.has("400 lldpcli missing expected 'local-chassis.'"));
}

TEST(Lldp, StaysWithinItsLimits) {
    const std::string start = "lldp.e.a=";
    const Neighbours cut = neighboursIn(start + std::string(5000, 'x') + "\nlldp.e.b=2\n");
    EXPECT_EQ(cut.at("e").at("a"), std::string(4096 - start.size(), 'x'));
    EXPECT_EQ(cut.at("e").at("b"), "2");
    // The line that the second's limit cuts through is no line of other output.
    for (const std::size_t length : {0U, 999U}) {
        std::string text;
        for (int i = 0; i < 5000; ++i)
            text += "local-chassis.k" + std::to_string(i) + "=" + std::string(length, 'x') + "\n";
        const std::size_t found = chassisIn(text).size();
        EXPECT_TRUE(length == 0 ? found == 4096 : found > 1000) << found;
    }
    std::istringstream endless(std::string(std::size_t{2} * 1024 * 1024, 'x'));
    EXPECT_EQ(parseLldpChassis(endless), LldpValues{});
    EXPECT_FALSE(endless.eof());
}

} // namespace
} // namespace zandorin
