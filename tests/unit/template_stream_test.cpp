#include "cgi/decoder.h"
#include "cgi/template_stream.h"
#include "tests/support/cgi_request.h"
#include "tests/support/log_capture.h"

#include <sstream>

namespace zandorin::cgi {
namespace {

/// A page with the functions f, which answers "X" and its arguments in brackets, and year, which
/// answers a name.
class TemplateStream : public ::testing::Test {
  protected:
    void SetUp() override {
        cgi.setArgument(&mark_);
        cgi.addReplaceable("f", [](void *argument, std::vector<std::string> &arguments) {
            std::string result(1, *static_cast<char *>(argument));
            for (const std::string &each : arguments)
                result += "[" + each + "]";
            return result;
        });
        cgi.addReplaceable("year", [](void *, auto &) { return std::string("#ui.build.year"); });
        cgi.addReplaceable("#ui.build.year", "2018");
        cgi.addReplaceable("#a", "#b");
        cgi.addReplaceable("#b", "CGI_CALL(f)");
        cgi.addReplaceable("#gone", "");
    }

    void write(const std::string &text, bool replace) {
        std::istringstream input(text);
        cgi.write(input, replace);
    }
    /// All of the page so far.
    std::string written() const {
        std::fflush(gcgiOut);
        return request_.output();
    }

  private:
    char mark_ = 'X';
    test::CgiRequest request_{test::CgiRequest::get("")};
    std::unique_ptr<Cgi> cgi_ = request_.open();

  protected:
    FileOutputStream &cgi = *cgi_;
};

TEST_F(TemplateStream, Expands) {
    const std::pair<const char *, const char *> rows[] = {
        {"a CGI_CALL(f) b CGI_CALL(g) c", "a X b  c"},
        {"CGI_CALL(F)CGI_CALL()CGI_CALL( f)", ""},
        {"CGI_CALL(f, 1,2)CGI_CALL(f,)CGI_CALL(f,(a))", "X[ 1][2]X[]X[(a])"},
        {"CGI_CALL(year)", "2018"},
        {"#a #ab", "CGI_CALL(f) CGI_CALL(f)b"},
        {"x#gone#gone", "x"},
        {"#gone#gone rest", "#gone#gone rest"},
    };
    std::string page;
    for (const auto &[text, expanded] : rows) {
        write(text, true);
        page += expanded;
        EXPECT_EQ(written(), page) << text;
    }
    EXPECT_TRUE(cgi.good());
}

TEST_F(TemplateStream, ExpandsOnlyWhereAskedTo) {
    write("CGI_CALL(f) #a ", false);
    cgi << "CGI_CALL(f) ";
    write("#a ", true);
    cgi << "#a" << '#';
    EXPECT_EQ(written(), "CGI_CALL(f) #a CGI_CALL(f) CGI_CALL(f) #a#");
}

TEST_F(TemplateStream, AnUnclosedCallEndsThePage) {
    const test::LogCapture log(Priority::error);
    cgi << "before ";
    write("text CGI_CALL(f) CGI_CALL(f", true);
    EXPECT_TRUE(cgi.bad());
    cgi << "after";
    write("after", false);
    EXPECT_EQ(written(), "before ");
    EXPECT_EQ(log.records(), std::vector<std::string>{"300 Malformed CGI_CALL()"});
}

TEST(TemplateStreamWithoutFile, TakesNothing) {
    FileOutputStream none;
    std::istringstream input("text");
    none.write(input, true);
    EXPECT_FALSE((none << "text").good());
    FileOutputStream closed(nullptr);
    EXPECT_FALSE((closed << "text" << 'c' << std::flush).good());
}

} // namespace
} // namespace zandorin::cgi
