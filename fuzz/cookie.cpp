// The cookie header: the ids are the words behind the cookie's name, and none reaches the log.

#include "fuzz/support/support.h"

#include "cgi/session.h"
#include "tests/support/log_capture.h"

#include <cstring>

namespace zandorin::fuzz {

std::vector<std::string> readPlainly(std::string header) {
    std::vector<std::string> ids;
    char *rest = nullptr;
    bool named = false;
    for (char *text = header.data(); char *word = ::strtok_r(text, ";=\t\r\n ", &rest);) {
        text = nullptr;
        if (named)
            ids.emplace_back(word);
        named = !named && std::strcmp(word, "ZdSessionId") == 0; // an id is not a name again
    }
    return ids;
}

void run(std::string_view input) {
    const std::string secret = "0123456789abcdef";
    const std::string others(input.substr(0, input.find('\0')));
    const std::string header = "ZdSessionId=" + secret + "; " + others;
    ::setenv("HTTP_COOKIE", header.c_str(), 1);
    const test::LogCapture log(Priority::trace);
    require(Session::getSessionCookies() == readPlainly(header));
    for (const std::string &record : log.records())
        require(record.find(secret) == record.npos || others.find(secret) != others.npos);
}

} // namespace zandorin::fuzz
