#pragma once

#include "util/wipe.h"

#include <algorithm>
#include <string>
#include <utility>

namespace zandorin::auth {

/// A text that is wiped from memory when it is no longer needed.
class Secret {
  public:
    Secret() = default;
    /// Takes the text over and wipes it where it was.
    explicit Secret(std::string &&text) {
        // On the heap even when short: what is kept in the object is copied when that is moved.
        text_.reserve(std::max(text.size(), least_capacity));
        text_ = text;
        wipe(text);
        text.clear();
    }
    Secret(Secret &&other) noexcept { swap(other); }
    Secret &operator=(Secret &&other) noexcept {
        swap(other);
        other.clear();
        return *this;
    }
    Secret(const Secret &) = delete;
    Secret &operator=(const Secret &) = delete;
    ~Secret() { clear(); }

    const std::string &text() const { return text_; }
    void clear() {
        wipe(text_);
        text_.clear();
    }

  private:
    static constexpr std::size_t least_capacity = 64;

    void swap(Secret &other) { text_.swap(other.text_); }

    std::string text_;
};

} // namespace zandorin::auth
