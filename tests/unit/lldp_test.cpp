#include "tests/support/log_capture.h"
#include "tests/support/testing.h"
#include "util/lldp.h"

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

TEST(Lldp, OtherOutputEmptiesTheAnswer) {
    const test::LogCapture log;
    for (const char *output : {"lldp.e.a=1\nlldpd is not running\n", "lldpx.e.a=1"})
        EXPECT_EQ(neighboursIn(output), Neighbours{}) << output;
    EXPECT_EQ(chassisIn("local-chassis.a=1\nlldp.e.a=1\n"), LldpValues{});
    EXPECT_EQ(log.records(),
              (std::vector<std::string>{"400 lldpcli missing expected 'lldp.'",
                                        "400 lldpcli missing expected 'lldp.'",
                                        "400 lldpcli missing expected 'local-chassis.'"}));
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
