#pragma once

#include "cgi/cgi.h"
#include "tests/support/appliance_test.h"

#include <deque>
#include <memory>

namespace zandorin::test {

/// A CGI request to decode in this process: its variables, its body on standard input, and a file
/// in place of standard output. The variables stand until destruction, the descriptors are in
/// place only while the request is decoded.
class CgiRequest {
  public:
    using Variables = std::vector<std::pair<std::string, std::string>>;

    explicit CgiRequest(const Variables &variables, std::string_view body = "");
    ~CgiRequest();
    CgiRequest(const CgiRequest &) = delete;
    CgiRequest &operator=(const CgiRequest &) = delete;

    static Variables get(const std::string &query);
    static Variables post(const std::string &contentType, const std::string &length);
    /// A multipart body of one part, with the boundary "B", and its variables.
    static std::string part(const std::string &headers, const std::string &value);
    static Variables multipart(std::string_view body);

    /// The decoded request; open it once.
    std::unique_ptr<Cgi> open();
    /// What was written so far and not left in a buffer.
    std::string output() const;

  private:
    std::deque<ScopedEnvironment> environment_;
    int input_;
    int output_;
};

} // namespace zandorin::test
