#include "types/predicates.h"

#include "util/log.h"
#include "util/strings.h"

#include <algorithm>

#include <arpa/inet.h>

namespace zandorin {

namespace {

bool isAddressOf(int family, const std::string &value) {
    in6_addr address = {}; // room for either family
    return value.find('\0') == std::string::npos &&
           ::inet_pton(family, value.c_str(), &address) == 1;
}

bool letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool hostNameByte(char c) {
    return isAlphanumeric(c) || c == '-' || c == '.';
}

template <bool (*isValid)(const std::string &)> bool isEachValid(const std::string &list) {
    std::size_t begin = 0;
    for (;;) {
        const auto comma = list.find(',', begin);
        if (!isValid(list.substr(begin, comma - begin)))
            return false;
        if (comma == std::string::npos)
            return true;
        begin = comma + 1;
    }
}

} // namespace

bool isValidIPv4(const std::string &value) {
    ZANDORIN_TRACE();
    return isAddressOf(AF_INET, value);
}

bool isValidIPv6(const std::string &value) {
    ZANDORIN_TRACE();
    const bool bracketed = value.starts_with('[') && value.find(']') == value.size() - 1;
    return isAddressOf(AF_INET6, bracketed ? value.substr(1, value.size() - 2) : value);
}

bool isValidIPAddress(const std::string &value) {
    ZANDORIN_TRACE();
    return isValidIPv4(value) || isValidIPv6(value);
}

bool isValidHostName(const std::string &value) {
    ZANDORIN_TRACE();
    return std::all_of(value.begin(), value.end(), hostNameByte) &&
           std::any_of(value.begin(), value.end(), letter);
}

bool isValidNetworkAddress(const std::string &value) {
    ZANDORIN_TRACE();
    return isValidIPAddress(value) || isValidHostName(value);
}

bool isValidNetmask(const std::string &value) {
    ZANDORIN_TRACE();
    return isValidIPAddress(value) || isValidCidr128(value);
}

bool isValidSubnet(const std::string &value) {
    ZANDORIN_TRACE();
    const auto slash = value.find('/');
    // No netmask at all is not the netmask 0.
    return slash != std::string::npos && slash + 1 < value.size() &&
           isValidNetworkAddress(value.substr(0, slash)) && isValidNetmask(value.substr(slash + 1));
}

bool isValidIPOrSubnet(const std::string &value) {
    ZANDORIN_TRACE();
    return isValidIPAddress(value) || isValidSubnet(value);
}

bool isValidAddressPort(const std::string &value) {
    ZANDORIN_TRACE();
    if (isValidNetworkAddress(value))
        return true;
    const auto colon = value.rfind(':');
    if (colon == std::string::npos || (value.find(':') != colon && !value.starts_with('[')))
        return false;
    return isValidPort(value.substr(colon + 1)) && isValidNetworkAddress(value.substr(0, colon));
}

bool isValidNetworkAddressList(const std::string &value) {
    ZANDORIN_TRACE();
    return isEachValid<isValidNetworkAddress>(value);
}

bool isValidAddressPortList(const std::string &value) {
    ZANDORIN_TRACE();
    return isEachValid<isValidAddressPort>(value);
}

bool isValidSubnetList(const std::string &value) {
    ZANDORIN_TRACE();
    return isEachValid<isValidSubnet>(value);
}

} // namespace zandorin
