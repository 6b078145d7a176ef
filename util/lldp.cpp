#include "util/lldp.h"

#include "util/log.h"

#include <optional>
#include <string_view>

namespace zandorin {

namespace {

constexpr std::size_t longest_line = 4096;
constexpr int most_lines = 4096;
constexpr std::size_t most_bytes = std::size_t{1024} * 1024;

/// The lines of a stream up to the limits, without line ends.
class Lines {
  public:
    explicit Lines(std::istream &source) : source_(*source.rdbuf()) {}

    /// False at the end, and for a line that reaches beyond the last byte to be read.
    bool next(std::string &line) {
        constexpr auto end = std::char_traits<char>::eof();
        line.clear();
        if (lines_++ == most_lines)
            return false;
        while (bytes_++ < most_bytes) {
            const auto c = source_.sbumpc();
            if (c == '\n')
                return true;
            if (c == end)
                return !line.empty();
            if (line.size() < longest_line)
                line.push_back(static_cast<char>(c));
        }
        return false;
    }

  private:
    std::streambuf &source_;
    int lines_ = 0;
    std::size_t bytes_ = 0;
};

/// Cuts off and answers what stands before the separator; none, and nothing cut, without one.
std::optional<std::string_view> take(std::string_view &text, char separator) {
    const auto found = text.find(separator);
    if (found == text.npos)
        return std::nullopt;
    const std::string_view front = text.substr(0, found);
    text.remove_prefix(found + 1);
    return front;
}

/// True when the line's first part is the expected one, which is then cut off.
bool takePrefix(std::string_view &line, std::string_view expected) {
    const bool found = take(line, '.').value_or(line) == expected;
    if (!found)
        logRecord(Priority::warn, "lldpcli missing expected '%.*s.'",
                  static_cast<int>(expected.size()), expected.data());
    return found;
}

void store(LldpValues &values, std::string_view keyAndValue) {
    if (const auto key = take(keyAndValue, '='))
        values[std::string(*key)] = keyAndValue;
}

} // namespace

std::map<std::string, LldpValues> parseLldpNeighbours(std::istream &output) {
    ZANDORIN_TRACE();
    std::map<std::string, LldpValues> neighbours;
    std::string line;
    for (Lines lines(output); lines.next(line);) {
        std::string_view rest = line;
        if (!takePrefix(rest, "lldp"))
            return {};
        const auto interface = take(rest, '.');
        if (interface && rest.find('=') != rest.npos)
            store(neighbours[std::string(*interface)], rest);
    }
    return neighbours;
}

LldpValues parseLldpChassis(std::istream &output) {
    ZANDORIN_TRACE();
    LldpValues chassis;
    std::string line;
    for (Lines lines(output); lines.next(line);) {
        std::string_view rest = line;
        if (!takePrefix(rest, "local-chassis"))
            return {};
        store(chassis, rest);
    }
    return chassis;
}

} // namespace zandorin
