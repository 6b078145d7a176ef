#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

namespace zandorin::fuzz {

/// An input in pieces: numbers are taken off its end, texts off its front. Past its end everything
/// is 0, false or "".
class Pieces {
  public:
    explicit Pieces(std::string_view input) : rest_(input) {}

    bool empty() const { return rest_.empty(); }

    /// A number from `least` to `most`.
    template <typename Number> Number number(Number least, Number most) {
        using Unsigned = std::make_unsigned_t<Number>;
        const auto range =
            static_cast<std::uint64_t>(static_cast<Unsigned>(most) - static_cast<Unsigned>(least));
        std::uint64_t value = 0;
        for (unsigned bits = 0; bits < 8 * sizeof(Number) && range >> bits != 0 && !empty();
             bits += 8) {
            value = value << 8U | static_cast<unsigned char>(rest_.back());
            rest_.remove_suffix(1);
        }
        if (range != std::numeric_limits<std::uint64_t>::max())
            value %= range + 1;
        return static_cast<Number>(static_cast<Unsigned>(least) + static_cast<Unsigned>(value));
    }
    template <typename Number> Number number() {
        return number(std::numeric_limits<Number>::min(), std::numeric_limits<Number>::max());
    }
    bool flag() { return number<std::uint8_t>() % 2 == 1; }
    const char *oneOf(std::initializer_list<const char *> values) {
        return values.begin()[number<std::size_t>(0, values.size() - 1)];
    }

    std::string text(std::size_t length) {
        const std::string_view taken = rest_.substr(0, length);
        rest_.remove_prefix(taken.size());
        return std::string(taken);
    }
    std::string rest() { return text(rest_.size()); }
    /// At most `longest` bytes up to a backslash, which is dropped with what follows it; two
    /// backslashes are one.
    std::string line(std::size_t longest) {
        std::string taken;
        while (taken.size() < longest && !empty()) {
            const std::string next = text(1);
            const std::string behind = next == "\\" ? text(1) : next;
            if (next == "\\" && behind != "\\")
                break;
            taken += next;
        }
        return taken;
    }

  private:
    std::string_view rest_;
};

} // namespace zandorin::fuzz
