#include "cgi/decoder.h"
#include "cgi/template_stream.h"
#include "tests/support/cgi_request.h"
#include "tests/support/log_capture.h"

#include <sstream>

namespace zandorin::cgi {
namespace {

TEST(TemplateStream, Expands) {
    test::CgiRequest request(test::CgiRequest::get(""));
    const auto cgi = request.open();
    FileOutputStream &page = *cgi;
    std::string mark = "X";
    page.setArgument(&mark);
    page.addReplaceable("f", [](void *argument, std::vector<std::string> &arguments) {
        std::string result = *static_cast<std::string *>(argument);
        for (const std::string &each : arguments)
            result += "[" + each + "]";
        return result;
    });
    page.addReplaceable("year", [](void *, auto &) { return std::string("#ui.build.year"); });
    const std::pair<const char *, const char *> names[] = {
        {"#ui.build.year", "2018"}, {"#a", "#b"}, {"#b", "CGI_CALL(f)"}, {"#gone", ""}};
    for (const auto &[name, text] : names)
        page.addReplaceable(name, std::string(text));
    const std::pair<const char *, const char *> rows[] = {
        {"a CGI_CALL(f) b CGI_CALL(g) c", "a X b  c"},
        {"CGI_CALL(F)CGI_CALL()CGI_CALL( f)", ""},
        {"CGI_CALL(f, 1,2)CGI_CALL(f,)CGI_CALL(f,(a))", "X[ 1][2]X[]X[(a])"},
        {"CGI_CALL(year) #ab", "2018 CGI_CALL(f)b"},
        {"x#gone#gone", "x"},
        {"#gone#gone rest", "#gone#gone rest"},
    };
    std::string expected;
    for (const auto &[text, expanded] : rows) {
        for (const bool replace : {true, false}) {
            std::istringstream input(text);
            page.write(input, replace);
        }
        page << text << std::flush;
        expected += std::string(expanded) + text + text;
        EXPECT_EQ(request.output(), expected);
    }
    EXPECT_TRUE(page.good());
}

TEST(TemplateStream, AnUnclosedCallEndsThePage) {
    test::CgiRequest request(test::CgiRequest::get(""));
    const auto cgi = request.open();
    const test::LogCapture log(Priority::error);
    *cgi << "before " << std::flush;
    std::istringstream input("text CGI_CALL(f) CGI_CALL(f");
    cgi->write(input, true);
    EXPECT_TRUE(cgi->bad());
    *cgi << "after" << std::flush;
    EXPECT_EQ(request.output(), "before ");
    EXPECT_EQ(log.records(), std::vector<std::string>{"300 Malformed CGI_CALL()"});
}

TEST(TemplateStream, TakesNothingWithoutAFile) {
    FileOutputStream none;
    std::istringstream input("text");
    none.write(input, true);
    FileOutputStream closed(nullptr);
    for (FileOutputStream *stream : {&none, &closed})
        EXPECT_FALSE((*stream << "text" << 'c' << std::flush).good());
}

} // namespace
} // namespace zandorin::cgi
