#include "platform/libzandorin/xml_tree.h"
#include "tests/support/testing.h"

namespace zandorin::platform {
namespace {

std::string nested(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i)
        text = "<a>" + text + "</a>";
    return text;
}

TEST(XmlTree, RefusesWhatIsNoWholeDocument) {
    const std::tuple<const char *, std::string, const char *> rows[] = {
        {"cut off", "<a>\n<b>", "line 2: no element found"},
        {"NUL", std::string("<a>\0</a>", 8), "line 1: not well-formed (invalid token)"},
        {"declared entity", "<!DOCTYPE a [<!ENTITY b 'c'>]>\n<a>&b;</a>",
         "line 1: document type declarations"},
        {"outside entities", "<!DOCTYPE a SYSTEM 'file:///etc/passwd'>\n<a>&b;</a>",
         "line 1: document type declarations"},
        {"too deep", nested(65), "line 1: elements nested too deeply"},
    };
    for (const auto &[name, bytes, expected] : rows) {
        std::string error;
        EXPECT_EQ(parseXml(bytes, &error), std::nullopt) << name;
        EXPECT_EQ(error, expected) << name;
    }
    EXPECT_TRUE(parseXml(nested(64)));
    EXPECT_TRUE(parseXml("<!DOCTYPE a><a/>"));
}

// What comes out stands between the declaration and the last line end, and is a fixed point.
TEST(XmlTree, RendersWhatItRead) {
    const std::tuple<const char *, const char *, const char *> rows[] = {
        {"layout is made anew", "<a>\n\n<b>\n      <c>  1 \n </c></b>\t</a>",
         "<a>\n  <b>\n    <c>  1 \n </c>\n  </b>\n</a>"},
        {"carriage return and marks", "<a>&#13;\n&amp;&lt;&gt;\"'</a>",
         "<a>&#13;\n&amp;&lt;&gt;\"'</a>"},
        {"attributes", "<a b='1&#10;&#9;&#13;\"' c=\"&amp;'\"/>",
         "<a b=\"1&#10;&#9;&#13;&quot;\" c=\"&amp;'\"/>"},
        {"white space that is text", "<a><b xml:space='preserve'> <c>\n</c><d/></b>\n<e/></a>",
         "<a>\n  <b xml:space=\"preserve\"> <c>\n</c><d/></b>\n  <e/>\n</a>"},
        {"comments", "<!-- x --><a> <!--\ny--><b/><!----></a><!--z-->",
         "<!-- x -->\n<a>\n  <!--\ny-->\n  <b/>\n  <!---->\n</a>\n<!--z-->"},
        {"character data section", "<a><![CDATA[<x>&]]>]]&gt;</a>", "<a>&lt;x&gt;&amp;]]&gt;</a>"},
        {"other encoding", "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xe9</a>",
         "<a>\xc3\xa9</a>"},
    };
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    for (const auto &[name, in, out] : rows) {
        std::string rendered = in;
        for (int times = 0; times < 2; ++times) {
            const auto document = parseXml(rendered);
            ASSERT_TRUE(document) << name;
            rendered = renderXml(*document);
            EXPECT_EQ(rendered, declaration + out + "\n") << name;
        }
    }
}

} // namespace
} // namespace zandorin::platform
