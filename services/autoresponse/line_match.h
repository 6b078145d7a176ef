#pragma once

#include <string>

#include <regex.h>

namespace zandorin::responder {

/// An extended regular expression of POSIX, over bytes.
class LineMatch {
  public:
    explicit LineMatch(const std::string &pattern);
    ~LineMatch();
    LineMatch(const LineMatch &) = delete;
    LineMatch &operator=(const LineMatch &) = delete;

    /// "" for a pattern that can be used.
    const std::string &problem() const { return problem_; }
    /// True when a part of the line matches; never with a problem.
    bool matches(const std::string &line) const;

  private:
    regex_t compiled_ = {};
    std::string problem_;
};

} // namespace zandorin::responder
