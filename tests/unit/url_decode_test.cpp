#include "cgi/url_encoded.h"

#include <gtest/gtest.h>

namespace zandorin::cgi {
namespace {

using namespace std::string_literals;

TEST(UrlDecode, Fields) {
    const std::pair<std::string, std::string> rows[] = {
        // What is sent, and <name>=<value>; of each field.
        {"a=1&b=&c", "a=1;"},
        {"c&d=2", "c&d=2;"},
        {"a=1&c&d=2&a=3", "a=1;c&d=2;a=3;"},
        {"x=a+b%20c", "x=a b c;"},
        {"x=%2F&y=%2f", "x=/;y=O;"},
        {"n%61me=a=b", "name=a=b;"},
        {"=nameless", "=nameless;"},
        {"&&a=&=&&=", ""},
        {"", ""},
        {"a=x%00y\xff", "a=x\0y\xff;"s},
        {"a=%", "a=\xd0;"},
        {"a=%4", "a=\x10;"},
        {"a=%&b=%zz", "a=\xd0;b=s;"},
        {"%=%E9%", "\xd0=\xe9\xd0;"}};
    for (const auto &[text, expected] : rows) {
        std::string fields;
        decodeUrlEncoded(text, [&fields](std::string &&name, Field &&field) {
            EXPECT_EQ(field.value.back(), '\0');
            field.value.pop_back();
            fields += name + "=" + field.value + ";";
        });
        EXPECT_EQ(fields, expected) << text;
    }
}

} // namespace
} // namespace zandorin::cgi
