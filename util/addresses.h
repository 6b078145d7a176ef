#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zandorin {

/// What a client's address is counted under: one word. Of an IPv6 address its network of 64 bits,
/// since each client has as many addresses in it as it likes; "unknown" for what is no address.
std::string addressKey(const std::string &address);

/// True when an address lies in one of the networks of a list separated by commas: "192.0.2.0/24",
/// "192.0.2.0/255.255.255.0", "2001:db8::/32", or one address alone. What is none of these is
/// passed over.
bool isInNetworks(const std::string &address, std::string_view networks);

/// 64-bit FNV-1a (draft-eastlake-fnv).
std::uint64_t hashOf(std::string_view text);

} // namespace zandorin
