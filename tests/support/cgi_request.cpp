#include "tests/support/cgi_request.h"

#include "cgi/decoder.h"

#include <sys/mman.h>
#include <unistd.h>

namespace zandorin::test {

CgiRequest::CgiRequest(const Variables &variables, std::string_view body)
    : input_(::memfd_create("input", MFD_CLOEXEC)), output_(::memfd_create("output", MFD_CLOEXEC)) {
    for (const auto &[name, value] : variables)
        environment_.emplace_back(name, value.c_str());
    EXPECT_EQ(::pwrite(input_, body.data(), body.size(), 0), static_cast<ssize_t>(body.size()));
}

CgiRequest::~CgiRequest() {
    gcgiRelease();
    ::close(input_);
    ::close(output_);
}

CgiRequest::Variables CgiRequest::get(const std::string &query) {
    return {{"REQUEST_METHOD", "GET"}, {"QUERY_STRING", query}};
}

CgiRequest::Variables CgiRequest::post(const std::string &contentType, const std::string &length) {
    return {{"REQUEST_METHOD", "POST"}, {"CONTENT_TYPE", contentType}, {"CONTENT_LENGTH", length}};
}

std::string CgiRequest::part(const std::string &headers, const std::string &value) {
    return "--B\r\n" + headers + "\r\n\r\n" + value + "\r\n--B--\r\n";
}

CgiRequest::Variables CgiRequest::multipart(std::string_view body) {
    return post("multipart/form-data; boundary=B", std::to_string(body.size()));
}

std::unique_ptr<Cgi> CgiRequest::open() {
    const int before[] = {::dup(0), ::dup(1)};
    ::dup2(input_, 0);
    ::dup2(output_, 1);
    auto cgi = std::make_unique<Cgi>();
    for (const int fd : {0, 1}) {
        ::dup2(before[fd], fd);
        ::close(before[fd]);
    }
    return cgi;
}

std::string CgiRequest::output() const {
    std::string text(static_cast<std::size_t>(::lseek(output_, 0, SEEK_END)), '\0');
    EXPECT_EQ(::pread(output_, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    return text;
}

} // namespace zandorin::test
