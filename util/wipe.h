#pragma once

#include <cstddef>
#include <cstring>
#include <string>

namespace zandorin {

/// Overwrites `size` bytes with zeros, also when nobody reads them any more. What explicit_bzero(3)
/// does; its checked variant lies far from whatever else of the C library a page runs, and to reach
/// it costs as much as a system call or three.
inline void wipe(void *bytes, std::size_t size) {
    std::memset(bytes, 0, size);
    asm volatile("" : : "r"(bytes) : "memory"); // to the compiler, somebody reads them
}

/// The same with a text, which keeps its length.
inline void wipe(std::string &text) {
    wipe(text.data(), text.size());
}

} // namespace zandorin
