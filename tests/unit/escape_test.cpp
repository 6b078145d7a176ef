#include "tests/support/log_capture.h"
#include "ui/escape.h"

#include <array>

#include <gtest/gtest.h>

namespace zandorin {
namespace {

using namespace std::string_literals;

TEST(Escape, Encodings) {
    const std::array<std::string, 4> rows[] = {
        // A text, and it as safe text, in a URI, and in HTML.
        {"09AZaz @:_=$+,-./", "09AZaz @:_=$+,-./", "09AZaz%32;@:_=$+,-./",
         "09AZaz @:_=$+,-.&#x2F;"},
        {"&<>\"'", "&amp;&lt;&gt;&quot;&apos;", "&%60;%62;%34;'", "&amp;&lt;&gt;&quot;&apos;"},
        {"?[\\]{~", "&#x3f;&#x5b;&#x5c;&#x5d;&#x7b;&#x7e;", "?[%92;]%123~", "?[\\]{~"},
        {"\t\n\0\x7f\xff"s, "&#x09;&#x0a;&#x00;&#x7f;&#xff;", "%09;%10;%00;%127%255",
         "\t\n\0\x7f\xff"s},
    };
    for (const auto &[text, safe, uri, html] : rows) {
        EXPECT_EQ(encodeSafe(text), safe);
        EXPECT_EQ(encodeUri(text), uri);
        EXPECT_EQ(escapeHtmlString(text), html);
    }
}

TEST(Escape, BuffersAreCutAndTerminated) {
    char buffer[] = "zzzzzzzzzzzzzz";
    std::size_t length = 0;
    EXPECT_EQ(encode_safe("a<b", buffer, 4, &length), 0);
    EXPECT_EQ(length, 6U);
    EXPECT_STREQ(buffer, "a&l");
    EXPECT_EQ(escapeHtml("a<b", buffer, 6), -1);
    EXPECT_STREQ(buffer, "a&lt;");
    EXPECT_EQ(escapeHtml("a<b", buffer, 7), 0);
    encode_uri("{ ", nullptr, 0, &length);
    EXPECT_EQ(length, 8U);
    EXPECT_EQ(escapeAllHex("a\xff", buffer, 13), 0);
    EXPECT_STREQ(buffer, "&#x61;&#xff;");
    EXPECT_EQ(escapeAllHex("a\xff", buffer, 12), -1);
}

TEST(Escape, AllocatedTextsAndTheLog) {
    const test::LogCapture log;
    char *text = nullptr;
    EXPECT_EQ(encode_safe_alloc("", &text), 0);
    EXPECT_STREQ(text, "");
    encode_safe_free(&text);
    EXPECT_EQ(text, nullptr);
    encode_safe_free(&text);
    EXPECT_EQ(encode_uri_alloc("secret<", &text), 0);
    EXPECT_STREQ(text, "secret%60;");
    encode_safe_free(&text);
    encode_safe_free(nullptr);
    EXPECT_TRUE(log.has("0 provided buffer was NULL."));
    for (const std::string &record : log.records())
        EXPECT_EQ(record.find("secret"), std::string::npos) << record;
    EXPECT_EQ(log.records()[3].rfind("700 encode_uri_alloc(********, 0x", 0), 0U);
}

} // namespace
} // namespace zandorin
