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
        {"a b", "a b", "a%32;b", "a b"},
        {"09AZaz@:_=$+,-./", "09AZaz@:_=$+,-./", "09AZaz@:_=$+,-./", "09AZaz@:_=$+,-.&#x2F;"},
        {"&<>\"'", "&amp;&lt;&gt;&quot;&apos;", "&%60;%62;%34;'", "&amp;&lt;&gt;&quot;&apos;"},
        {"?[\\]^`{~", "&#x3f;&#x5b;&#x5c;&#x5d;&#x5e;&#x60;&#x7b;&#x7e;", "?[%92;]%94;%96;%123~",
         "?[\\]^`{~"},
        {"!#%();*", "&#x21;&#x23;&#x25;&#x28;&#x29;&#x3b;&#x2a;", "!#%37;();*", "!#%();*"},
        {"\t\n\0\x7f\xff"s, "&#x09;&#x0a;&#x00;&#x7f;&#xff;", "%09;%10;%00;%127%255",
         "\t\n\0\x7f\xff"s},
        {"", "", "", ""},
    };
    for (const auto &[text, safe, uri, html] : rows) {
        EXPECT_EQ(encodeSafe(text), safe);
        EXPECT_EQ(encodeUri(text), uri);
        EXPECT_EQ(escapeHtmlString(text), html);
    }
}

TEST(Escape, BuffersAreCutAndTerminated) {
    for (std::size_t size = 1; size <= 8; ++size) {
        char buffer[] = "zzzzzzzzz";
        std::size_t length = 0;
        EXPECT_EQ(encode_safe("a<b", buffer, size, &length), 0);
        EXPECT_EQ(length, 6U);
        EXPECT_EQ(buffer, std::string("a&lt;b").substr(0, size - 1));
        EXPECT_EQ(escapeHtml("a<b", buffer, size), size <= 6 ? -1 : 0);
        EXPECT_EQ(buffer, std::string("a&lt;b").substr(0, size - 1));
    }
    std::size_t length = 0;
    encode_uri("{ ", nullptr, 0, &length);
    EXPECT_EQ(length, 8U);
    char hex[13];
    EXPECT_EQ(escapeAllHex("a\xff", hex, sizeof hex), 0);
    EXPECT_STREQ(hex, "&#x61;&#xff;");
    EXPECT_EQ(escapeAllHex("a\xff", hex, sizeof hex - 1), -1);
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
