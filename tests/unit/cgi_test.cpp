#include "cgi/cgi.h"

#include "cgi/decoder.h"
#include "tests/support/cgi_request.h"
#include "tests/support/log_capture.h"

#include <fcntl.h>
#include <unistd.h>

namespace zandorin {
namespace {

using test::CgiRequest;

TEST(Cgi, Fields) {
    CgiRequest request(
        CgiRequest::get("a=0123456789&m=%3Cb%3E&n=-7&big=2147483648&x=1.5e1&w=word&e="));
    const auto cgi = request.open();
    EXPECT_EQ(cgi->getVarString("a").raw, "0123456789");
    EXPECT_EQ(cgi->getVarString("a", 4).raw, "012");
    EXPECT_FALSE(cgi->getVarString("a").hasMarkup() || cgi->varStringExists("e"));
    EXPECT_EQ(cgi->getVarString("m").safe, "&lt;b&gt;");
    EXPECT_TRUE(cgi->getVarString("m").hasMarkup());
    EXPECT_EQ(cgi->getVarNumber("n"), -7);
    EXPECT_EQ(cgi->getVarNumber("w") + cgi->getVarNumber("big") + cgi->getVarNumber("none"), 0);
    EXPECT_FLOAT_EQ(cgi->getVarFloat("x"), 15.0F);
}

TEST(Cgi, Variables) {
    const test::LogCapture log(Priority::error);
    const std::tuple<const char *, std::uint16_t, const char *, bool> rows[] = {
        {"99999999999", 65535, "1", false},
        {"-1", 65535, "on ", false},
        {"0", 0, "ON", true},
        {"65535", 65535, "on", true},
    };
    for (const auto &[port, number, https, isSecure] : rows) {
        CgiRequest request({{"REQUEST_METHOD", "GET"}, {"REMOTE_PORT", port}, {"HTTPS", https}});
        const auto cgi = request.open();
        EXPECT_EQ(cgi->getRemotePort(), number) << port;
        EXPECT_EQ(cgi->getHttps(), isSecure) << https;
        EXPECT_EQ(cgi->getRemoteAddress(), "");
    }
    EXPECT_EQ(log.records().size(), 3U);
    EXPECT_EQ(log.records().back(), "300 Invalid remote port: 0");
    CgiRequest none(CgiRequest::get(""));
    EXPECT_EQ(none.open()->getRemotePort(), 0);
    EXPECT_EQ(log.records().size(), 3U);
}

TEST(Cgi, HeaderIsWrittenOnce) {
    CgiRequest request(CgiRequest::get(""));
    auto cgi = request.open();
    cgi->setExtraHeader("Set-Cookie: a=b");
    cgi->sendHttpHeader(404, "text/html");
    cgi->sendHttpHeader(200, "text/plain");
    *cgi << "page";
    EXPECT_EQ(request.output(), "");
    cgi.reset();
    EXPECT_EQ(request.output(), "HTTP/1.1 404 OK\r\nCache-control: no-cache\r\n"
                                "Content-Type: text/html\r\nSet-Cookie: a=b\r\n\r\npage");
}

TEST(Cgi, FinishedResponseLeavesNoDescriptorToTheReader) {
    CgiRequest request(CgiRequest::get(""));
    const auto cgi = request.open();
    const int own[] = {::dup(0), ::dup(1), ::dup(2)};
    *cgi << "page";
    cgi->finishResponse();
    *cgi << "stray" << std::flush;
    bool isGone = true;
    for (const int fd : {0, 1, 2, ::fileno(gcgiOut)})
        isGone = isGone && std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd)) ==
                               "/dev/null";
    const int flags = ::fcntl(::fileno(gcgiOut), F_GETFD);
    for (const int fd : {0, 1, 2})
        ::dup2(own[fd], fd);
    EXPECT_TRUE(isGone);
    EXPECT_NE(flags & FD_CLOEXEC, 0);
    EXPECT_EQ(request.output(), "page");
}

using CgiFile = test::ApplianceTest;

TEST_F(CgiFile, StoresAnUploadUpToItsFirstZero) {
    const test::LogCapture log(Priority::error);
    const std::string header = "Content-Disposition: form-data; name=f; filename=x";
    const std::string body = CgiRequest::part(header, std::string("key\r\n\0rest", 10));
    CgiRequest request(CgiRequest::multipart(body), body);
    const auto cgi = request.open();
    EXPECT_TRUE(cgi->getVarFile("f", onHost("/key")));
    EXPECT_EQ(read("/key"), "key\r\n");
    EXPECT_FALSE(cgi->getVarFile("none", onHost("/none")));
    EXPECT_TRUE(cgi->getVarFile("f", "/nonexistent/key"));
    EXPECT_EQ(log.records(),
              (std::vector<std::string>{"300 Failed to get size of: none",
                                        "300 Failed to open file for writing: /nonexistent/key"}));

    const std::string large = CgiRequest::part(header, std::string(1048577, 'x'));
    put("/var/run/.sessions/session-user",
        "username = root\nexpiry_time = 2147483647\nauth_state = 7\n");
    put("/var/run/.sessions/session-old", "username = root\nexpiry_time = 1\nauth_state = 7\n");
    put("/var/run/.sessions/session-guess",
        "username = root\nexpiry_time = 2147483647\nauth_state = 2\n");
    for (const std::string id : {"old", "guess", "none", "user"}) {
        auto variables = CgiRequest::multipart(large);
        variables.emplace_back("HTTP_COOKIE", "ZdSessionId=" + id);
        CgiRequest second(variables, large);
        const auto upload = second.open();
        EXPECT_EQ(upload->status(), id == "user" ? 200 : 413) << id;
        EXPECT_FALSE(upload->getVarFile("f", onHost("/large"))) << id;
        EXPECT_EQ(log.has("300 File data was truncated"), id == "user") << id;
        EXPECT_FALSE(exists("/large"));
    }
}

} // namespace
} // namespace zandorin
