#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <regex.h>

namespace zandorin::ui {

/// A POSIX extended regular expression that a user typed in, for lines of a file. Compiling and
/// matching take a few megabytes at most and come to an end: the C library writes repetitions out
/// ("(x+)+" has x four times), and keeps a state for each place of a line where it must.
class LinePattern {
  public:
    /// Not valid when it is costly, or no expression.
    explicit LinePattern(std::string text);
    ~LinePattern();
    LinePattern(const LinePattern &) = delete;
    LinePattern &operator=(const LinePattern &) = delete;

    bool valid() const { return valid_; }
    /// Whether it matches the line's first 512 bytes.
    bool matches(std::string_view line);

    /// True for an expression of more than 255 bytes, of more than 300 pieces when its repetitions
    /// are written out ("{m,n}" as n, "+" as two), with a repetition right behind another, or more
    /// than three in each other, or with a back-reference, which POSIX does not have here.
    static bool isCostly(std::string_view text);

  private:
    bool compile();

    const std::string text_;
    regex_t expression_ = {};
    bool valid_;
    std::size_t matched_ = 0; ///< bytes since it was compiled
};

} // namespace zandorin::ui
