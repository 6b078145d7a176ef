#pragma once

#include <cstdint>
#include <string_view>

namespace zandorin {

/// FNV-1a with 64 bits, over each text and a byte that ends it. For telling values apart, not
/// against anybody who looks for two that are the same.
class Fnv1a {
  public:
    void add(std::string_view text) {
        for (const char c : text)
            addByte(static_cast<unsigned char>(c));
        addByte(0);
    }
    std::uint64_t value() const { return state_; }

  private:
    void addByte(unsigned char byte) { state_ = (state_ ^ byte) * 0x100000001b3U; }
    std::uint64_t state_ = 0xcbf29ce484222325U;
};

} // namespace zandorin
