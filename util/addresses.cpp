#include "util/addresses.h"

#include "util/strings.h"

#include <algorithm>
#include <array>
#include <optional>

#include <arpa/inet.h>

namespace zandorin {

namespace {

/// An address as the 16 bytes of IPv6; one of IPv4 as its mapped one.
using Bytes = std::array<std::uint8_t, 16>;
constexpr std::int64_t mapped_bits = 96;

std::optional<Bytes> bytesOf(const std::string &address) {
    Bytes bytes{};
    if (::inet_pton(AF_INET6, address.c_str(), bytes.data()) == 1)
        return bytes;
    bytes = {};
    bytes[10] = bytes[11] = 0xff;
    if (::inet_pton(AF_INET, address.c_str(), &bytes[12]) == 1)
        return bytes;
    return std::nullopt;
}

/// The mask of a network, of its own kind: a number of bits, or written out for IPv4.
std::optional<Bytes> maskOf(std::string_view text, bool v4) {
    Bytes mask{};
    if (text.find('.') != std::string_view::npos) {
        const auto given = bytesOf(std::string(text));
        if (!given || !v4)
            return std::nullopt;
        mask = *given;
        std::fill_n(mask.begin(), mapped_bits / 8, std::uint8_t{0xff});
        return mask;
    }
    const auto bits = parseWhole(text);
    const std::int64_t all = (v4 ? mapped_bits : 0) + bits.value_or(-1);
    if (!bits || *bits < 0 || all > 128)
        return std::nullopt;
    for (std::int64_t bit = 0; bit < all; ++bit)
        mask[static_cast<std::size_t>(bit / 8)] |= static_cast<std::uint8_t>(0x80U >> bit % 8);
    return mask;
}

bool isIn(const Bytes &address, std::string_view network) {
    const auto slash = network.find('/');
    const auto start = bytesOf(std::string(network.substr(0, slash)));
    const bool v4 = network.find(':') == std::string_view::npos;
    const auto mask = slash == std::string_view::npos ? maskOf(v4 ? "32" : "128", v4)
                                                      : maskOf(network.substr(slash + 1), v4);
    if (!start || !mask)
        return false;
    for (std::size_t i = 0; i < address.size(); ++i)
        if (((address[i] ^ (*start)[i]) & (*mask)[i]) != 0)
            return false;
    return true;
}

} // namespace

std::string addressKey(const std::string &address) {
    in6_addr v6 = {};
    std::string text(INET6_ADDRSTRLEN, '\0');
    if (::inet_pton(AF_INET6, address.c_str(), &v6) == 1 && !IN6_IS_ADDR_V4MAPPED(&v6)) {
        std::fill(std::begin(v6.s6_addr) + 8, std::end(v6.s6_addr), std::uint8_t{0});
        ::inet_ntop(AF_INET6, &v6, text.data(), INET6_ADDRSTRLEN);
        return text.c_str();
    }
    in_addr v4 = {};
    const auto last = address.rfind(':'); // of a mapped one
    const std::string dotted = last == std::string::npos ? address : address.substr(last + 1);
    return ::inet_pton(AF_INET, dotted.c_str(), &v4) == 1 ? dotted : "unknown";
}

bool isInNetworks(const std::string &address, std::string_view networks) {
    const auto bytes = bytesOf(address);
    while (bytes && !networks.empty()) {
        const std::string_view network = trim(networks.substr(0, networks.find(',')));
        networks.remove_prefix(std::min(networks.find(','), networks.size() - 1) + 1);
        if (isIn(*bytes, network))
            return true;
    }
    return false;
}

std::uint64_t hashOf(std::string_view text) {
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
    return hash;
}

} // namespace zandorin
