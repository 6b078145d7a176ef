#include "ui/filter_stream.h"

#include <iterator>
#include <sstream>

#include <gtest/gtest.h>

namespace zandorin::filtering {
namespace {

std::string readAll(std::streambuf &buffer) {
    return {std::istreambuf_iterator<char>(&buffer), {}};
}

TEST(FilterStream, EscapesBothWays) {
    const std::string text = "<a href=\"b'c\">&\xff";
    std::stringbuf target;
    escapexml element(&target);
    std::ostream(&element) << text << std::flush;
    EXPECT_EQ(target.str(), "&lt;a href=\"b'c\"&gt;&amp;\xff");

    std::stringbuf source(text);
    escapexmlattr attribute(&source);
    EXPECT_EQ(readAll(attribute), "&lt;a href=&quot;b&apos;c&quot;&gt;&amp;\xff");
}

TEST(FilterStream, WithoutATargetIsClosed) {
    escapexml closed(nullptr);
    EXPECT_FALSE(std::ostream(&closed).put('a').good());
    EXPECT_EQ(closed.pubsync(), 0);
    EXPECT_EQ(closed.sgetc(), EOF);
}

TEST(FilterStream, PutsBackFourCharacters) {
    std::stringbuf source("abcdef<");
    escapexml filter(&source);
    for (int i = 0; i < 6; ++i)
        filter.sbumpc();
    EXPECT_EQ(filter.sgetc(), '&');
    for (const char c : {'f', 'e', 'd', 'c'})
        EXPECT_EQ(filter.sungetc(), c);
    EXPECT_EQ(filter.sungetc(), EOF);
    EXPECT_EQ(readAll(filter), "cdef&lt;");
}

TEST(FilterStream, ATargetThatTakesNothingIsReported) {
    std::stringbuf full(std::ios::in);
    escapexml filter(&full);
    EXPECT_TRUE(std::ostream(&filter).put('<').bad());
    EXPECT_EQ(filter.pubsync(), -1);
}

TEST(FilterStream, ReplacesTheLongestFromTheLeft) {
    const std::map<std::string, std::string> strings = {
        {"ab", "1"}, {"abcd", "2"}, {"bc", "ab"}, {"x", ""}, {"", "never"}};
    const std::pair<const char *, const char *> rows[] = {
        {"ababcda", "12a"}, {"abcx", "1c"}, {"aab", "a1"}, {"bcd", "abd"}, {"", ""},
    };
    for (const auto &[text, result] : rows) {
        std::stringbuf target;
        {
            replace filter(&target, strings);
            std::ostream(&filter) << text << std::flush;
        }
        EXPECT_EQ(target.str(), result) << text;
        std::stringbuf source(text);
        replace reader(&source, strings);
        EXPECT_EQ(readAll(reader), result) << text;
    }
}

} // namespace
} // namespace zandorin::filtering
