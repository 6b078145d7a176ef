#include "services/autoresponse/usage_meter.h"

#include "util/split.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin::responder {

void UsageMeter::count(std::uint64_t total, std::int64_t now) {
    const std::uint64_t more = !isBegun_ ? 0 : total >= last_ ? total - last_ : total;
    isBegun_ = true;
    last_ = total;
    for (Piece &piece : pieces_)
        piece.begin = std::min(piece.begin, now);
    while (!pieces_.empty() && pieces_.front().begin <= now - period_)
        pieces_.pop_front();
    if (pieces_.empty() || now - pieces_.back().begin >= piece())
        pieces_.push_back({now, 0});
    pieces_.back().used += more;
}

std::uint64_t UsageMeter::used() const {
    std::uint64_t sum = 0;
    for (const Piece &piece : pieces_)
        sum += piece.used;
    return sum;
}

std::string UsageMeter::memory() const {
    std::string text = std::to_string(last_);
    for (const Piece &piece : pieces_)
        append(text, {" ", std::to_string(piece.begin), " ", std::to_string(piece.used)});
    return text;
}

void UsageMeter::recall(std::string_view memory) {
    const auto words = utilities::split(memory, " ");
    if (words.empty())
        return;
    const auto countAt = [&](std::size_t at) {
        return static_cast<std::uint64_t>(std::max<std::int64_t>(leadingNumber(words[at]), 0));
    };
    isBegun_ = true;
    last_ = countAt(0);
    pieces_.clear();
    for (std::size_t at = 1; at + 1 < words.size(); at += 2)
        pieces_.push_back({leadingNumber(words[at]), countAt(at + 1)});
}

} // namespace zandorin::responder
