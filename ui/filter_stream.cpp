#include "ui/filter_stream.h"

#include "util/escape.h"

#include <algorithm>
#include <string_view>

namespace zandorin::filtering {

bool filterbuf::flushPending() {
    const auto size = static_cast<std::streamsize>(pending_.size());
    const std::streamsize taken = size == 0 ? 0 : target_->sputn(pending_.data(), size);
    pending_.erase(0, static_cast<std::size_t>(taken));
    return taken == size;
}

bool filterbuf::close() {
    if (target_ == nullptr || gptr() != nullptr)
        return false;
    if (!ended_)
        finish(pending_);
    ended_ = true;
    return flushPending();
}

filterbuf::int_type filterbuf::overflow(int_type c) {
    if (target_ == nullptr || ended_ || !flushPending())
        return traits_type::eof();
    if (traits_type::eq_int_type(c, traits_type::eof()))
        return traits_type::not_eof(c);
    filter(c, pending_);
    return flushPending() ? c : traits_type::eof();
}

int filterbuf::sync() {
    if (target_ == nullptr)
        return 0;
    return flushPending() ? target_->pubsync() : -1;
}

filterbuf::int_type filterbuf::underflow() {
    if (gptr() < egptr())
        return traits_type::to_int_type(*gptr());
    if (target_ == nullptr || ended_)
        return traits_type::eof();
    const std::size_t keep = std::min(put_back_size, static_cast<std::size_t>(gptr() - eback()));
    std::copy(gptr() - keep, gptr(), input_.data() + put_back_size - keep);
    input_.resize(put_back_size);
    while (input_.size() == put_back_size && !ended_) {
        const int_type c = target_->sbumpc();
        ended_ = traits_type::eq_int_type(c, traits_type::eof());
        if (ended_)
            finish(input_);
        else
            filter(c, input_);
    }
    char *const start = input_.data() + put_back_size;
    setg(start - keep, start, input_.data() + input_.size());
    return gptr() < egptr() ? traits_type::to_int_type(*gptr()) : traits_type::eof();
}

void escapexml::filter(int character, std::string &out) {
    const char c = static_cast<char>(character);
    out += escapeXmlText({&c, 1});
}

void escapexmlattr::filter(int character, std::string &out) {
    const char c = static_cast<char>(character);
    out += escapeXmlAttribute({&c, 1});
}

replace::replace(std::streambuf *target, std::map<std::string, std::string> strings)
    : filterbuf(target), strings_(std::move(strings)) {
    strings_.erase("");
}

void replace::filter(int character, std::string &out) {
    held_ += static_cast<char>(character);
    while (!held_.empty() && !mayGrow())
        resolveFirst(out);
}

void replace::finish(std::string &out) {
    while (!held_.empty())
        resolveFirst(out);
}

/// True when what is held may become a longer string than any it holds now.
bool replace::mayGrow() const {
    // Strings that begin with the held text follow it at once in their order.
    const auto next = strings_.upper_bound(held_);
    return next != strings_.end() && next->first.starts_with(held_);
}

/// Replaces the longest string at the front of the held text, or lets one character pass.
void replace::resolveFirst(std::string &out) {
    for (std::size_t length = held_.size(); length > 0; --length) {
        const auto found = strings_.find(held_.substr(0, length));
        if (found == strings_.end())
            continue;
        out += found->second;
        held_.erase(0, length);
        return;
    }
    out += held_.front();
    held_.erase(0, 1);
}

} // namespace zandorin::filtering
