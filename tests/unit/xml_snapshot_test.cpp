#include "platform/libzandorin/xml_snapshot.h"

#include "tests/support/appliance_test.h"
#include "util/files.h"

namespace zandorin::platform {
namespace {

using ::testing::StartsWith;

class XmlSnapshot : public test::ApplianceTest {
  protected:
    static constexpr const char *file = "/etc/config/test.xml";
    static constexpr const char *snapshot = "/var/run/test.snapshot";

    void SetUp() override {
        ApplianceTest::SetUp();
        makeFolder("/etc/config");
        makeFolder("/var/run");
    }

    /// The root's text; what went wrong in angle brackets.
    static std::string read() {
        std::string fault;
        const auto found = readXmlFile(onHost(file), "test", fault);
        if (!found)
            return "<" + (fault.empty() ? std::string("unreadable") : fault) + ">";
        return std::string(found->image.text(XmlImage::root));
    }
};

TEST_F(XmlSnapshot, EveryChangeOfTheFileIsNoticed) {
    const std::string mapped(40000, 'x'); // too long to be read at once
    const std::tuple<const char *, std::string, std::string> rows[] = {
        {"first", "<r>1</r>", "1"},
        {"same length, at once", "<r>2</r>", "2"},
        {"and again", "<r>3</r>", "3"},
        {"longer", "<r>four</r>", "four"},
        {"very long", "<r>" + mapped + "</r>", mapped},
        {"damaged", "<r>four<r>", "<line 1: "},
        {"truncated", "<r>fo", "<line 1: "},
        {"empty", "", "<line 1: "},
        {"mended", "<r>5</r>", "5"},
    };
    for (const auto &[name, contents, expected] : rows) {
        put(file, contents); // in place, most likely within one tick of the file system's clock
        const std::string first = read();
        EXPECT_THAT(first, StartsWith(expected)) << name;
        EXPECT_EQ(read(), first) << name << ", read again";
        ASSERT_TRUE(replaceFile(onHost(file), contents, 0600)) << name;
        EXPECT_EQ(read(), first) << name << ", replaced by the same";
    }
    std::remove(onHost(file).c_str());
    EXPECT_EQ(read(), "<unreadable>") << "the snapshot does not stand for a file that is gone";
}

TEST_F(XmlSnapshot, AFileAtRestIsNotReadAgain) {
    put(file, "<r>1</r>");
    read();
    EXPECT_EQ(modeOf(snapshot), 0600U);
    // What the next reader answers comes from the snapshot, or this would go unseen.
    std::string bytes = ApplianceTest::read(snapshot);
    bytes[bytes.rfind('1')] = '9';
    put(snapshot, bytes);
    EXPECT_EQ(read(), "9");
    std::this_thread::sleep_for(std::chrono::milliseconds(3100));
    EXPECT_EQ(read(), "9"); // compares the bytes for the last time
    // Their hash stands at the preface's byte 64: nobody looks at it any more.
    bytes = ApplianceTest::read(snapshot);
    bytes[64] = static_cast<char>(~bytes[64]);
    bytes[bytes.rfind('9')] = '8';
    put(snapshot, bytes);
    EXPECT_EQ(read(), "8");
    put(file, "<r>2</r>");
    EXPECT_EQ(read(), "2");
}

} // namespace
} // namespace zandorin::platform
