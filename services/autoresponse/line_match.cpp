#include "services/autoresponse/line_match.h"

#include <array>

namespace zandorin::responder {

LineMatch::LineMatch(const std::string &pattern) {
    if (pattern.empty()) {
        problem_ = "there is no pattern";
        return;
    }
    const int result = ::regcomp(&compiled_, pattern.c_str(), REG_EXTENDED | REG_NOSUB);
    if (result == 0)
        return;
    std::array<char, 128> words = {};
    ::regerror(result, &compiled_, words.data(), words.size());
    problem_ = std::string("the pattern cannot be used: ") + words.data();
}

LineMatch::~LineMatch() {
    if (problem_.empty())
        ::regfree(&compiled_);
}

bool LineMatch::matches(const std::string &line) const {
    return problem_.empty() && ::regexec(&compiled_, line.c_str(), 0, nullptr, 0) == 0;
}

} // namespace zandorin::responder
