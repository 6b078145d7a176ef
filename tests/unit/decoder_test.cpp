#include "cgi/decoder.h"
#include "cgi/url_encoded.h"
#include "tests/support/cgi_request.h"
#include "tests/support/log_capture.h"

#include <cstdlib>

#include <fcntl.h>

namespace zandorin {
namespace {

using test::CgiRequest;

CgiRequest::Variables urlEncoded(const std::string &length) {
    return CgiRequest::post("Application/x-www-form-urlencoded; charset=x", length);
}

TEST(Decoder, Requests) {
    const std::string part = CgiRequest::part("Content-Disposition: form-data; name=a", "1");
    const auto multipart = [&part](const std::string &parameters) {
        return CgiRequest::post("multipart/form-data" + parameters, std::to_string(part.size()));
    };
    const std::string query = "QUERY_STRING";
    const std::string method = "REQUEST_METHOD";
    const std::string failed = "0 Failed to initialise CGI: -1";
    const struct {
        const char *name;
        CgiRequest::Variables variables;
        std::string body;
        std::string log; // the fatal record
        std::string a;   // the field; "-" for none
        std::string standardError = "";
    } rows[] = {
        {"other method", {{method, "HEAD"}, {query, "a=1"}}, "", failed, "-"},
        {"get", {{method, "getter"}, {query, "a=1"}}, "", "", "1"},
        {"first of a name", CgiRequest::get("b=&a=1&a=2"), "", "", "1"},
        {"skipped", {{"DONT_READ_STDIN", "1x"}, {method, "GET"}, {query, "a=1"}}, "", "", "-"},
        {"post", urlEncoded("3"), "a=12", "", "1"},
        {"shorter than announced", urlEncoded("7"), "a=1", "", "-"},
        {"more than is taken", urlEncoded("9223372036854775807"), "a=1", "", "-"},
        {"negative", urlEncoded("-1"), "a=1", failed, "-"},
        {"not whole", urlEncoded("3 "), "a=1", "", "-"},
        {"other type", CgiRequest::post("text/plain", "3"), "a=1", "", "-", "Unknown Encoding.\n"},
        {"multipart", multipart("; boundary=\"B\""), part, "", "1"},
        {"no boundary", multipart(""), part, "", "-"},
    };
    for (const auto &row : rows) {
        const test::LogCapture log(Priority::fatal);
        CgiRequest request(row.variables, row.body);
        testing::internal::CaptureStderr();
        const auto cgi = request.open();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), row.standardError) << row.name;
        EXPECT_EQ(log.records().empty() ? "" : log.records().front(), row.log) << row.name;
        EXPECT_EQ(cgi->varStringExists("a") ? cgi->getVarString("a").raw : "-", row.a) << row.name;
    }
}

TEST(Decoder, RefusesWhatNoFormSends) {
    const auto repeat = [](int times, auto make) {
        std::string text;
        for (int i = 0; i < times; ++i)
            text += make(i);
        return text;
    };
    const std::string same = repeat(10000, [](int) { return "a=1&"; });
    const auto names = [&](int count) {
        return repeat(count, [](int i) { return std::to_string(i) + "=1&"; });
    };
    const std::string head = "--B\r\nContent-Disposition: form-data; name=";
    const auto files = [&](int count, std::size_t size) {
        return repeat(count,
                      [&](int i) {
                          return head + std::to_string(i) + "\r\n\r\n" + std::string(size, 'x') +
                                 "\r\n";
                      }) +
               "--B--\r\n";
    };
    const struct {
        const char *name;
        std::string body;
        int status;
    } rows[] = {
        {"one name many times", same, 200},
        {"many names", names(4096), 200},
        {"too many", names(4097), 413},
        {"long name", std::string(1024, 'n') + "=1", 200},
        {"too long", std::string(1025, 'n') + "=1", 413},
        {"as much as a stranger may", "a=" + std::string(65534, 'x'), 200},
        {"more", "a=" + std::string(65535, 'x'), 413},
        {"parts cut short", head + "a\r\n\r\n1\r\n" + head + "b\r\n\r\n2", 200},
        {"many parts", files(1500, 1), 413}, // of more than 64 KiB
    };
    for (const auto &row : rows) {
        const test::LogCapture log;
        const std::string size = std::to_string(row.body.size());
        CgiRequest request(row.body.starts_with("--") ? CgiRequest::multipart(row.body)
                                                      : urlEncoded(size),
                           row.body);
        const auto cgi = request.open();
        EXPECT_EQ(cgi->status(), row.status) << row.name;
        EXPECT_EQ(cgi->hasErrors(), row.status != 200) << row.name;
        EXPECT_EQ(cgi->anyFieldName([](std::string_view) { return true; }), row.status == 200)
            << row.name;
    }
}

TEST(Decoder, StatusesAndSizes) {
    const std::string body =
        "--B\r\nContent-Disposition: form-data; name=e\r\n\r\n\r\n" +
        CgiRequest::part("Content-Disposition: form-data; name=f; filename=x.bin\r\n"
                         "Content-Type: text/csv\r\nContent-Transfer-Encoding: binary",
                         std::string("ab\0cd", 5));
    CgiRequest request(CgiRequest::multipart(body), body);
    const auto cgi = request.open();
    // The status and the length of a value, and the status and the size of the field.
    using Sizes = std::tuple<int, std::size_t, int, std::size_t>;
    const std::pair<const char *, Sizes> rows[] = {{"none", {GCGI_NOT_FOUND, 0, GCGI_NOT_FOUND, 0}},
                                                   {"e", {GCGI_EMPTY, 0, GCGI_OK, 0}},
                                                   {"f", {GCGI_OK, 2, GCGI_OK, 5}}};
    for (const auto &[name, expected] : rows) {
        std::size_t length = 9;
        std::size_t size = 9;
        const int status = gcgiValueLength(name, &length);
        EXPECT_EQ((Sizes{status, length, gcgiFieldSize(name, &size), size}), expected) << name;
    }
    char buffer[8] = "zzzzzzz";
    EXPECT_EQ(gcgiCopyString("f", buffer, 2), GCGI_OK);
    EXPECT_STREQ(buffer, "a");
    EXPECT_EQ(gcgiCopyString("f", buffer, 1), GCGI_EMPTY);

    int type = 0;
    int encoding = 0;
    char *subtype = nullptr;
    char *fileName = nullptr;
    EXPECT_EQ(gcgiFetchData("f", buffer, 4, &type, &subtype, &encoding, &fileName, nullptr),
              GCGI_OK);
    EXPECT_EQ(std::string(buffer, 5), std::string("ab\0cz", 5));
    EXPECT_EQ(type, GCGI_MIME_TEXT);
    EXPECT_EQ(encoding, GCGI_ENCODING_BINARY);
    EXPECT_EQ(std::string(subtype) + fileName, "csvx.bin");
    std::free(subtype);
    std::free(fileName);
    EXPECT_EQ(gcgiFetchData("e", buffer, 4, nullptr, &subtype, nullptr, &fileName, nullptr),
              GCGI_NOT_FOUND);
    EXPECT_EQ(fileName, nullptr);
    EXPECT_NE(::fcntl(::fileno(gcgiOut), F_GETFD) & FD_CLOEXEC, 0);
    cgi->end();
    EXPECT_EQ(gcgiOut, nullptr);
    EXPECT_EQ(gcgiEnvironment(GCGI_REQUEST_METHOD), nullptr);
}

TEST(UrlDecode, Fields) {
    const std::pair<const char *, const char *> rows[] = {
        // What is sent, and <name>=<value>; of each field.
        {"a=1&b=&c", "a=1;"},
        {"a=1&c&d=2&a=3", "a=1;c&d=2;a=3;"},
        {"x=a+b%20c&n%61me=a=b", "x=a b c;name=a=b;"},
        {"x=%2F&y=%2f", "x=/;y=O;"},
        {"=nameless&&a=&=&&=", "=nameless;"},
        {"a=%4", "a=\x10;"},
        {"a=%&b=%zz", "a=\xd0;b=s;"}};
    for (const auto &[text, expected] : rows) {
        std::string fields;
        cgi::decodeUrlEncoded(text, [&fields](std::string &&name, cgi::Field &&field) {
            fields += name + "=" + field.value.c_str() + ";";
        });
        EXPECT_EQ(fields, expected) << text;
    }
}

} // namespace
} // namespace zandorin
