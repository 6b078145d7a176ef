#include "settings/fingerprint.h"

#include "util/hash.h"

#include <algorithm>
#include <cstdint>

namespace zandorin::settings {

namespace {

constexpr std::size_t digits = 8;
constexpr std::size_t most_marks = 4096;

} // namespace

std::string Fingerprint::markOf(std::string_view key, std::string_view value, bool isSecret) const {
    Fnv1a hash;
    hash.add(key);
    hash.add(value);
    if (isSecret)
        hash.add(secret_);
    const std::uint64_t state = hash.value();
    std::string mark(digits, '0');
    for (std::size_t i = 0; i < digits; ++i)
        mark[i] = "0123456789abcdef"[((state ^ (state >> 32)) >> (4 * i)) & 0xfU];
    return mark;
}

void Fingerprint::read(std::string_view text) {
    while (text.size() >= digits && marks_.size() < most_marks) {
        const std::string_view mark = text.substr(0, digits);
        if (mark.find_first_not_of("0123456789abcdef") != std::string_view::npos)
            return;
        marks_.emplace_back(mark);
        text.remove_prefix(digits);
    }
}

void Fingerprint::add(std::string_view key, std::string_view value, bool isSecret) {
    marks_.push_back(markOf(key, value, isSecret));
}

bool Fingerprint::holds(std::string_view key, std::string_view value, bool isSecret) const {
    return std::find(marks_.begin(), marks_.end(), markOf(key, value, isSecret)) != marks_.end();
}

std::string Fingerprint::text() const {
    std::string joined;
    for (const std::string &mark : marks_)
        joined += mark;
    return joined;
}

std::string changedMeanwhile(const std::string &label, const std::string &more) {
    return "<i>" + label + "</i> was changed by somebody else after this page was opened" + more +
           ". Nothing was saved; apply again to replace what is stored.";
}

} // namespace zandorin::settings
