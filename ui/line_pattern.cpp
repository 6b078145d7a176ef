#include "ui/line_pattern.h"

#include "util/strings.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace zandorin::ui {

namespace {

constexpr std::size_t most_bytes = 255;
constexpr std::uint64_t most_pieces = 300;
/// Repetitions of repetitions: from four on, the C library may not come back from a few of them.
constexpr unsigned deepest = 3;
constexpr std::size_t line_bytes = 512;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The pieces of the groups that are open, the innermost last, as far as they were read.
class Pieces {
  public:
    void add() {
        Group &group = groups_.back();
        group = {group.all + group.last, 1, std::max(group.depth, group.lastDepth), 0};
    }
    void repeat(std::uint64_t times) {
        auto &last = groups_.back().last;
        last = std::min(last * times, most_pieces + 1);
        if (++groups_.back().lastDepth > deepest)
            last = most_pieces + 1;
    }
    void open() { groups_.emplace_back(); }
    void close() {
        if (groups_.size() == 1)
            return;
        const std::uint64_t inner = groups_.back().all + groups_.back().last;
        const unsigned depth = std::max(groups_.back().depth, groups_.back().lastDepth);
        groups_.pop_back();
        add();
        groups_.back().lastDepth = depth;
        groups_.back().last += inner;
    }
    std::uint64_t all() const {
        std::uint64_t sum = 0;
        for (const Group &group : groups_)
            sum += group.all + group.last;
        return sum;
    }

  private:
    struct Group {
        std::uint64_t all = 0;  ///< pieces before the last one
        std::uint64_t last = 0; ///< of what a repetition would repeat
        unsigned depth = 0;     ///< of repetitions in the pieces before the last one
        unsigned lastDepth = 0;
    };
    std::vector<Group> groups_ = std::vector<Group>(1);
};

/// The last byte of the bracket expression that begins there; the text's end when it has none.
std::size_t bracketEnd(std::string_view text, std::size_t at) {
    ++at;
    if (at < text.size() && text[at] == '^')
        ++at;
    if (at < text.size() && text[at] == ']')
        ++at;
    while (at < text.size() && text[at] != ']') {
        const char kind = text[at] == '[' && at + 1 < text.size() ? text[at + 1] : '\0';
        if (kind == ':' || kind == '.' || kind == '=') {
            const auto end = text.find(std::string{kind, ']'}, at + 2);
            at = end == std::string_view::npos ? text.size() : end + 2;
        } else {
            ++at;
        }
    }
    return at;
}

/// The largest number in a repetition's braces, from `at` on to its last byte.
std::uint64_t largestBound(std::string_view text, std::size_t &at) {
    std::uint64_t largest = 1;
    std::uint64_t bound = 0;
    for (++at; at < text.size() && text[at] != '}'; ++at) {
        bound =
            isDigit(text[at])
                ? std::min(10 * bound + static_cast<std::uint64_t>(text[at] - '0'), most_pieces + 1)
                : 0;
        // What is written "{m,}" has one more, which repeats.
        largest = std::max(largest, bound + 1);
    }
    return largest;
}

} // namespace

bool LinePattern::isCostly(std::string_view text) {
    if (text.size() > most_bytes)
        return true;
    Pieces pieces;
    bool repeated = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool repeats = std::string_view("*+?{").find(text[i]) != std::string_view::npos;
        if (repeats && repeated)
            return true;
        repeated = repeats;
        switch (text[i]) {
        case '\\':
            ++i;
            if (i < text.size() && isDigit(text[i]))
                return true;
            pieces.add();
            break;
        case '[':
            i = bracketEnd(text, i);
            pieces.add();
            break;
        case '(':
            pieces.open();
            break;
        case ')':
            pieces.close();
            break;
        case '{':
            pieces.repeat(largestBound(text, i));
            break;
        case '+':
            pieces.repeat(2);
            break;
        case '*':
        case '?':
            pieces.repeat(1);
            break;
        default:
            pieces.add();
        }
        if (pieces.all() > most_pieces)
            return true;
    }
    return false;
}

LinePattern::LinePattern(std::string text)
    : text_(std::move(text)), valid_(!isCostly(text_) && compile()) {}

LinePattern::~LinePattern() {
    if (valid_)
        ::regfree(&expression_);
}

bool LinePattern::compile() {
    matched_ = 0;
    return ::regcomp(&expression_, text_.c_str(), REG_EXTENDED | REG_NOSUB) == 0;
}

bool LinePattern::matches(std::string_view line) {
    const std::string start(line.substr(0, line_bytes));
    // Anew, so that what it remembers of the lines before does not add up.
    if (matched_ + start.size() > line_bytes) {
        ::regfree(&expression_);
        valid_ = compile();
    }
    matched_ += start.size();
    return valid_ && ::regexec(&expression_, start.c_str(), 0, nullptr, 0) == 0;
}

} // namespace zandorin::ui
