#include "cgi/multipart.h"
#include "tests/support/cgi_request.h"

namespace zandorin::cgi {
namespace {

using namespace std::string_literals;
using Values = std::map<std::string, std::string>;

constexpr std::size_t limit = 100;

struct Parsed {
    std::map<std::string, Field> fields;
    Values values;
    bool closed = false;
};

Parsed parse(std::string_view body, std::size_t pieceSize = 4096, std::string_view boundary = "B") {
    Parsed parsed;
    MultipartParser parser(boundary, limit, [&parsed](std::string &&name, Field &&field) {
        parsed.values[name] = field.value;
        parsed.fields[name] = std::move(field);
    });
    while (!body.empty() && parser.feed(body.substr(0, pieceSize)))
        body.remove_prefix(std::min(pieceSize, body.size()));
    parsed.closed = parser.finish();
    return parsed;
}

std::string named(const std::string &value, const std::string &moreHeaders = "") {
    return test::CgiRequest::part("Content-Disposition: form-data; name=\"n\"" + moreHeaders,
                                  value);
}

const std::string good_body =
    "before\r\n--B\r\ncontent-disposition: FORM-DATA; filename=\"; name=b\\\"c\\d\"; NAME = "
    "file\r\n"
    "Content-Type: Image/png; charset=x\r\n\r\nline\r\n--Bx\r\n --B\r\n\n\xff\0\r\n"
    "--B\r\nContent-Disposition: inline; name=\"empty\"\r\n\r\n\r\n"
    "--B\r\nContent-Disposition: attachment; name=\"other\"\r\n\r\nx\r\n"
    "--B\r\nX-Unknown\r\nContent-Disposition: form-data; filename=x; name\r\n\r\nnameless\r\n"
    "--B\r\nContent-Disposition: form-data; name=\"headers only\"\r\n"
    "--B\r\nContent-Disposition: form-data; name=\"\xe9t\xe9\"\r\n\r\nlast\n\r\n--B--\r\n"
    "--B\r\nContent-Disposition: form-data; name=\"late\"\r\n\r\nx\r\n--B--\r\n"s;
const Values good_values = {
    {"file", "line\r\n--Bx\r\n --B\r\n\n\xff\0"s}, {"empty", ""}, {"\xe9t\xe9", "last\n"}};

TEST(Multipart, GivesItsFieldsAndCutShortNoHalfValues) {
    const Parsed parsed = parse(good_body);
    EXPECT_EQ(parsed.values, good_values);
    const Field &file = parsed.fields.at("file");
    EXPECT_EQ(file.fileName, "; name=b\"c\\d");
    EXPECT_EQ(file.type, GCGI_MIME_IMAGE);
    EXPECT_EQ(file.subtype, "png");
    EXPECT_EQ(parsed.fields.at("empty").fileName, std::nullopt);

    const std::size_t closed = good_body.find("--B--") + 5;
    for (std::size_t length = 0; length < good_body.size(); ++length) {
        const Parsed cut = parse(good_body.substr(0, length), 1);
        for (const auto &[name, value] : cut.values)
            EXPECT_TRUE(good_values.contains(name) && good_values.at(name) == value)
                << length << " " << name;
        EXPECT_EQ(cut.closed, length >= closed) << length;
    }
}

TEST(Multipart, Values) {
    const std::string base64 = "\r\nContent-Transfer-Encoding: BASE64";
    const std::string quoted = "\r\nContent-Transfer-Encoding: quoted-printable";
    const std::string inner = "--C\r\nx\r\n--C--";
    const std::tuple<const char *, std::string, Values> rows[] = {
        {"as long as a separator", named("1234567\r\nx"), {{"n", "1234567\r\nx"}}},
        {"base64", named("YWJ\r\nj\0ZA=="s, base64), {{"n", "abcd"}}},
        {"base64 torn", named("YWJjZ", base64), {{"n", "abc"}}},
        {"quoted", named("a=3D=\r\nb=c3=\n=", quoted), {{"n", "a=b\xc3"}}},
        {"unknown encoding", named("YWI=", "\r\nContent-Transfer-Encoding: x"), {{"n", "YWI="}}},
        {"nested", named(inner, "\r\nContent-Type: multipart/mixed; boundary=C"), {{"n", inner}}},
    };
    for (const auto &[name, body, values] : rows)
        EXPECT_EQ(parse(body, 1).values, values) << name;
}

TEST(Multipart, SkipsOverLongHeaderLines) {
    const std::string value(MultipartParser::max_header_line, 'x');
    for (const std::size_t size : {100U, 100000U}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(parse(named("v", "\r\nX: " + value), size).values, (Values{{"n", "v"}}));
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "readCRLFLine: LineLimit: 4096, Line Length: 4101\n");
    }
}

TEST(Multipart, BoundaryOfAnyLength) {
    const std::string boundary(20000, 'b');
    const std::string body = "--" + boundary +
                             "\r\nContent-Disposition: form-data; name=n\r\n\r\n" + "--b\r\n--" +
                             boundary + "\r\n--" + boundary + "--";
    EXPECT_EQ(parse(body, 4096, boundary).values, (Values{{"n", "--b"}}));
}

} // namespace
} // namespace zandorin::cgi
