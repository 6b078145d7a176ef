#include "tests/support/log_capture.h"
#include "util/lldp.h"

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

TEST(Lldp, ReadsWhatLinesMayLookLike) {
    const std::pair<std::string, Neighbours> rows[] = {
        {"lldp.e.a=0\nlldp.f.a=\nlldp.e.a=1", {{"e", {{"a", "1"}}}, {"f", {{"a", ""}}}}},
        {"lldp.x.a\nlldp.e\nlldp\nlldp.\nlldp.e.7.b=2\n", {{"e", {{"7.b", "2"}}}}},
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
