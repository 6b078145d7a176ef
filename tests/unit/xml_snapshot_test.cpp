#include "platform/libzandorin/xml_snapshot.h"

#include "tests/support/appliance_test.h"
#include "util/files.h"
#include "util/paths.h"

#include <chrono>
#include <thread>

#include <gmock/gmock.h>

namespace zandorin::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr const char *document = "<tree a=\"1\" b=\"&lt;\"><!-- c --><leaf>x</leaf><leaf>y</leaf>"
                                 "<empty/><nest> <leaf>\xc3\xa4</leaf>\n</nest></tree>";

std::vector<std::string> childrenOf(const XmlImage &image, XmlImage::Element parent) {
    std::vector<std::string> found;
    for (auto child = image.firstChild(parent); child != XmlImage::none; child = image.next(child))
        found.push_back(std::string(image.name(child)) + "=" + std::string(image.text(child)));
    return found;
}

XmlImage imageOf(const std::string &text) {
    const auto tree = parseXml(text);
    return tree ? XmlImage(tree->root) : XmlImage();
}

TEST(XmlImage, AnswersAsTheTreeDoes) {
    const XmlImage image = imageOf(document);
    EXPECT_EQ(image.name(XmlImage::root), "tree");
    EXPECT_EQ(image.text(XmlImage::root), "");
    EXPECT_EQ(image.attribute(XmlImage::root, "a"), "1");
    EXPECT_EQ(image.attribute(XmlImage::root, "b"), "<");
    EXPECT_EQ(image.attribute(XmlImage::root, "leaf"), std::nullopt);
    EXPECT_EQ(image.child(XmlImage::root, "a"), XmlImage::none) << "an attribute is no element";
    EXPECT_THAT(childrenOf(image, XmlImage::root),
                ElementsAre("leaf=x", "leaf=y", "empty=", "nest="));
    EXPECT_EQ(image.text(image.child(XmlImage::root, "leaf")), "x") << "the first one";
    const auto nest = image.child(XmlImage::root, "nest");
    EXPECT_EQ(image.text(image.child(nest, "leaf")), "\xe4") << "ISO-8859-1";
    EXPECT_EQ(image.child(nest, "empty"), XmlImage::none);
    EXPECT_TRUE(childrenOf(image, XmlImage::none).empty());
}

TEST(XmlImage, HoldsManyElements) {
    std::string text = "<r>";
    for (int n = 0; n < 3000; ++n)
        text += "<e" + std::to_string(n) + "><v>" + std::to_string(n) + "</v></e" +
                std::to_string(n) + ">";
    const XmlImage image = imageOf(text + "</r>");
    for (const int n : {0, 1, 1499, 2999}) {
        const auto element = image.child(XmlImage::root, "e" + std::to_string(n));
        EXPECT_EQ(image.text(image.child(element, "v")), std::to_string(n));
    }
    EXPECT_EQ(image.child(XmlImage::root, "e3000"), XmlImage::none);
}

TEST(XmlImage, EmptyFindsNothing) {
    const XmlImage image;
    EXPECT_EQ(image.name(XmlImage::root), "");
    EXPECT_EQ(image.child(XmlImage::root, "a"), XmlImage::none);
    EXPECT_TRUE(childrenOf(image, XmlImage::root).empty());
}

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
        const auto found = readXmlFile(appliancePath(file), "test", fault);
        if (!found)
            return "<" + (fault.empty() ? std::string("unreadable") : fault) + ">";
        return std::string(found->image.text(XmlImage::root));
    }
};

TEST_F(XmlSnapshot, EveryChangeOfTheFileIsNoticed) {
    const std::tuple<const char *, const char *, const char *> rows[] = {
        {"first", "<r>1</r>", "1"},
        {"same length, at once", "<r>2</r>", "2"},
        {"and again", "<r>3</r>", "3"},
        {"longer", "<r>four</r>", "four"},
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
        ASSERT_TRUE(replaceFile(appliancePath(file), contents, 0600)) << name;
        EXPECT_EQ(read(), first) << name << ", replaced by the same";
    }
    std::remove(appliancePath(file).c_str());
    EXPECT_EQ(read(), "<unreadable>") << "the snapshot does not stand for a file that is gone";
}

TEST_F(XmlSnapshot, AFileAtRestIsNotReadAgain) {
    put(file, "<r>1</r>");
    read();
    std::this_thread::sleep_for(std::chrono::milliseconds(3100));
    EXPECT_EQ(read(), "1"); // compares the bytes for the last time
    // The hash of the bytes stands at the preface's byte 64: nobody looks at it any more.
    std::string bytes = get(snapshot);
    bytes[64] = static_cast<char>(~bytes[64]);
    bytes[bytes.rfind('1')] = '9';
    put(snapshot, bytes);
    EXPECT_EQ(read(), "9");
    put(file, "<r>2</r>");
    EXPECT_EQ(read(), "2");
}

TEST_F(XmlSnapshot, ServesTheFileItWasMadeOf) {
    put(file, "<r>1</r>");
    read();
    std::string bytes = get(snapshot);
    ASSERT_NE(bytes, "");
    EXPECT_EQ(modeOf(snapshot), 0600U);
    // What the next reader answers comes from here, or this would go unseen.
    bytes[bytes.rfind('1')] = '9';
    put(snapshot, bytes);
    EXPECT_EQ(read(), "9");
}

TEST_F(XmlSnapshot, DamageOfTheSnapshotIsHarmless) {
    put(file, document);
    read();
    const std::string whole = get(snapshot);
    std::string fault;
    const auto readAll = [&] {
        const auto found = readXmlFile(appliancePath(file), "test", fault);
        if (found)
            childrenOf(found->image, found->image.child(XmlImage::root, "nest"));
        return found.has_value();
    };
    for (std::size_t size = 0; size < whole.size(); ++size) {
        put(snapshot, whole.substr(0, size));
        EXPECT_TRUE(readAll()) << "cut to " << size;
    }
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const char byte : {'\0', '\x7f', '\xff'}) {
            std::string damaged = whole;
            damaged[at] = byte;
            put(snapshot, damaged);
            EXPECT_TRUE(readAll()) << "byte " << at;
        }
    }
}

} // namespace
} // namespace zandorin::platform
