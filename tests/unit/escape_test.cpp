#include "tests/support/log_capture.h"
#include "ui/filter_stream.h"
#include "util/escape.h"

#include <array>
#include <iterator>
#include <sstream>

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
    EXPECT_EQ(encode_uri_alloc("secret<", &text), 0);
    EXPECT_EQ(log.records().back().rfind("700 encode_uri_alloc(********, 0x", 0), 0U);
    EXPECT_STREQ(text, "secret%60;");
    encode_safe_free(&text);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(encode_safe_alloc("secret", &text), 0);
    EXPECT_EQ(log.records().back().rfind("700 encode_safe_alloc(********, 0x", 0), 0U);
    EXPECT_STREQ(text, "secret");
    encode_safe_free(&text);
    encode_safe_free(nullptr);
    EXPECT_TRUE(log.has("0 provided buffer was NULL."));
}

std::string readAll(std::streambuf &buffer) {
    return {std::istreambuf_iterator<char>(&buffer), {}};
}

TEST(FilterStream, EscapesBothWays) {
    const std::string text = "<a href=\"b'c\">&\xff";
    std::stringbuf target;
    filtering::escapexml element(&target);
    std::ostream(&element) << text << std::flush;
    EXPECT_EQ(target.str(), "&lt;a href=\"b'c\"&gt;&amp;\xff");
    std::stringbuf source(text);
    filtering::escapexmlattr attribute(&source);
    EXPECT_EQ(readAll(attribute), "&lt;a href=&quot;b&apos;c&quot;&gt;&amp;\xff");
}

TEST(FilterStream, IsClosedWithoutATargetAndReportsOneThatTakesNothing) {
    filtering::escapexml closed(nullptr);
    EXPECT_FALSE(std::ostream(&closed).put('a').good());
    EXPECT_EQ(closed.pubsync(), 0);
    EXPECT_EQ(closed.sgetc(), EOF);
    std::stringbuf full(std::ios::in);
    filtering::escapexml filter(&full);
    EXPECT_TRUE(std::ostream(&filter).put('<').bad());
    EXPECT_EQ(filter.pubsync(), -1);
}

TEST(FilterStream, PutsBackFourCharacters) {
    std::stringbuf source("abcdef<");
    filtering::escapexml filter(&source);
    for (int i = 0; i < 6; ++i)
        filter.sbumpc();
    EXPECT_EQ(filter.sgetc(), '&');
    for (const char c : {'f', 'e', 'd', 'c'})
        EXPECT_EQ(filter.sungetc(), c);
    EXPECT_EQ(filter.sungetc(), EOF);
    EXPECT_EQ(readAll(filter), "cdef&lt;");
}

TEST(FilterStream, ReplacesTheLongestFromTheLeft) {
    const std::map<std::string, std::string> strings = {
        {"ab", "1"}, {"abcd", "2"}, {"bc", "ab"}, {"x", ""}, {"", "never"}};
    const std::pair<const char *, const char *> rows[] = {
        {"ababcda", "12a"}, {"abcx", "1c"}, {"aab", "a1"}, {"bcd", "abd"}, {"", ""}};
    for (const auto &[text, result] : rows) {
        std::stringbuf target;
        {
            filtering::replace filter(&target, strings);
            std::ostream(&filter) << text << std::flush;
        }
        EXPECT_EQ(target.str(), result) << text;
        std::stringbuf source(text);
        filtering::replace reader(&source, strings);
        EXPECT_EQ(readAll(reader), result) << text;
    }
}

} // namespace
} // namespace zandorin
