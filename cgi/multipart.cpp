#include "cgi/multipart.h"

#include "cgi/mime.h"
#include "util/strings.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <utility>

namespace zandorin::cgi {

namespace {

constexpr std::string_view line_end = "\r\n";
constexpr std::string_view closing_mark = "--";

void reportLongLine(std::size_t length) {
    std::fprintf(stderr, "readCRLFLine: LineLimit: %d, Line Length: %d\n",
                 static_cast<int>(MultipartParser::max_header_line),
                 static_cast<int>(std::min<std::size_t>(length, INT_MAX)));
}

} // namespace

MultipartParser::MultipartParser(std::string_view boundary, std::size_t fieldLimit, FieldSink store)
    : separator_("--" + std::string(boundary)), fieldLimit_(fieldLimit), store_(std::move(store)) {}

bool MultipartParser::feed(std::string_view data) {
    while (!data.empty() && state_ != State::closed) {
        const auto newline = data.find('\n');
        const std::string_view piece =
            data.substr(0, newline == std::string_view::npos ? newline : newline + 1);
        data.remove_prefix(piece.size());
        line_ += piece;
        if (line_.ends_with(line_end)) {
            take(line_, true);
            line_.clear();
        } else if (line_.size() > longestLineKept()) {
            // Too long for a separator; a CR stays, for it may be half of the line's end.
            const std::size_t count = line_.size() - (line_.back() == '\r' ? 1 : 0);
            take(std::string_view(line_).substr(0, count), false);
            line_.erase(0, count);
        }
    }
    return state_ != State::closed;
}

bool MultipartParser::finish() {
    // The last line may have lost its end, or half of it.
    if (line_.ends_with('\r'))
        line_.pop_back();
    if (lineTaken_ == 0 && line_ == separator_ + std::string(closing_mark))
        endPart(State::closed);
    return state_ == State::closed;
}

std::size_t MultipartParser::longestLineKept() const {
    const std::size_t closing = separator_.size() + closing_mark.size() + line_end.size();
    return state_ == State::headers ? std::max(closing, max_header_line) : closing;
}

void MultipartParser::take(std::string_view piece, bool lineEnds) {
    const bool wholeLine = lineEnds && lineTaken_ == 0;
    const std::size_t length = lineTaken_ + piece.size();
    lineTaken_ = lineEnds ? 0 : length;
    if (lineEnds)
        piece.remove_suffix(line_end.size());
    if (wholeLine && takeSeparator(piece))
        return;
    if (state_ == State::body) {
        takeBody(piece);
        lineEndHeld_ = lineEnds;
    } else if (state_ == State::headers && lineEnds) {
        if (length > max_header_line)
            reportLongLine(length);
        else if (piece.empty())
            state_ = State::body;
        else
            takeHeader(piece);
    }
}

bool MultipartParser::takeSeparator(std::string_view line) {
    if (!line.starts_with(separator_))
        return false;
    const std::string_view rest = line.substr(separator_.size());
    if (!rest.empty() && rest != closing_mark)
        return false;
    endPart(rest.empty() ? State::headers : State::closed);
    return true;
}

void MultipartParser::takeHeader(std::string_view line) {
    const auto colon = line.find(':');
    if (colon == std::string_view::npos)
        return;
    const std::string_view header = line.substr(0, colon);
    const std::string_view value = line.substr(colon + 1);
    const std::string_view token = headerToken(value);
    if (equalsIgnoreCase(header, "Content-Disposition")) {
        if (!equalsIgnoreCase(token, "form-data") && !equalsIgnoreCase(token, "inline"))
            return;
        name_ = headerParameter(value, "name");
        field_.fileName = headerParameter(value, "filename");
    } else if (equalsIgnoreCase(header, "Content-Type")) {
        field_.type = mimeType(token);
        field_.subtype = mimeSubtype(token);
    } else if (equalsIgnoreCase(header, "Content-Transfer-Encoding")) {
        field_.encoding = transferEncoding(token);
    }
}

void MultipartParser::takeBody(std::string_view text) {
    if (!name_)
        return;
    const auto append = [this](std::string_view bytes) {
        const std::size_t room = fieldLimit_ - field_.value.size();
        field_.value += bytes.substr(0, room);
        field_.truncated |= bytes.size() > room;
    };
    if (lineEndHeld_)
        append(line_end);
    append(text);
}

void MultipartParser::endPart(State next) {
    if (state_ == State::body && name_) {
        field_.value = decodeTransfer(field_.encoding, std::move(field_.value));
        store_(std::move(*name_), std::move(field_));
    }
    name_.reset();
    field_ = Field();
    lineEndHeld_ = false;
    state_ = next;
}

} // namespace zandorin::cgi
