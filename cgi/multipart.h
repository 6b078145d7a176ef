#pragma once

#include "cgi/field.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zandorin::cgi {

/// Parser of a "multipart/form-data" body (RFC 7578, RFC 2046), fed in pieces of any size. Lines
/// end with CR LF; a separator is a whole line. What stands before the first separator and after
/// the closing line is skipped.
/// A part becomes a field when it has a name, its disposition is "form-data" or "inline", and its
/// body is complete, that is, followed by a separator or the closing line: a body that is cut short
/// leaves no half values. Nested multipart bodies are values like any other.
/// Memory: the values, each up to the field limit, and one header line. Over-long header lines are
/// reported to standard error and skipped.
class MultipartParser {
  public:
    /// `boundary` as in the content type. Values are cut at `fieldLimit` bytes, counted before
    /// their transfer encoding is undone.
    MultipartParser(std::string_view boundary, std::size_t fieldLimit, FieldSink store);

    /// False once the closing line was read: nothing after it matters.
    bool feed(std::string_view data);
    /// Ends the body, whose closing line may lack its line end. False when it was cut short.
    bool finish();

    /// Longest header line, its line end included.
    static constexpr std::size_t max_header_line = 4096;

  private:
    enum class State { preamble, headers, body, closed };

    std::size_t longestLineKept() const;
    void take(std::string_view piece, bool lineEnds);
    bool takeSeparator(std::string_view line);
    void takeHeader(std::string_view line);
    void takeBody(std::string_view text);
    void endPart(State next);

    const std::string separator_;
    const std::size_t fieldLimit_;
    const FieldSink store_;
    State state_ = State::preamble;
    std::string line_;          ///< the current line as far as it was read and not taken
    std::size_t lineTaken_ = 0; ///< bytes of the current line that were taken already
    std::optional<std::string> name_;
    Field field_;
    bool lineEndHeld_ = false; ///< a line end of the body that may belong to the separator
};

} // namespace zandorin::cgi
