#include "types/predicates.h"

#include "util/log.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace zandorin {

namespace {

constexpr long last_port = 65535;

bool digitsOnly(std::string_view value) {
    return std::all_of(value.begin(), value.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool portNumber(std::int64_t number) {
    return number >= 1 && number <= last_port;
}

/// Digits only, nothing standing for 0, within the limits.
bool numberWithin(const std::string &value, long least, long most) {
    if (!digitsOnly(value))
        return false;
    const std::int64_t number = leadingNumber(value);
    return number >= least && number <= most;
}

} // namespace

bool isValidNumeric(const std::string &value) {
    ZANDORIN_TRACE();
    return digitsOnly(value);
}

bool isValidInteger(const std::string &value) {
    ZANDORIN_TRACE();
    const std::string_view text = value;
    return digitsOnly(text.size() >= 2 && text.front() == '-' ? text.substr(1) : text);
}

bool isValidUnsigned16Bit(const std::string &value) {
    ZANDORIN_TRACE();
    const std::int64_t number = leadingNumber(value);
    return number >= 0 && number <= 65535;
}

bool isValidTCPPort(const std::string &value) {
    ZANDORIN_TRACE();
    return portNumber(leadingNumber(value));
}

bool isValidTCPPortRange(const std::string &value) {
    ZANDORIN_TRACE();
    const auto bounds = utilities::split(value, "-");
    if (bounds.empty())
        return false;
    const std::int64_t first = leadingNumber(bounds[0]);
    const std::int64_t last = bounds.size() > 1 ? leadingNumber(bounds[1]) : first;
    return portNumber(first) && portNumber(last) && first <= last;
}

bool isValidPort(const std::string &value) {
    ZANDORIN_TRACE();
    return numberWithin(value, 1, last_port - 1);
}

bool isValidCidr32(const std::string &value) {
    ZANDORIN_TRACE();
    return numberWithin(value, 0, 32);
}

bool isValidCidr128(const std::string &value) {
    ZANDORIN_TRACE();
    return numberWithin(value, 0, 128);
}

bool isValidMAC(const std::string &value) {
    ZANDORIN_TRACE();
    if (value.empty())
        return true;
    const auto octets = utilities::split(value, ":");
    return octets.size() == 6 && std::all_of(octets.begin(), octets.end(), [](const auto &octet) {
               char *end = nullptr;
               const long number = std::strtol(octet.c_str(), &end, 16);
               return number >= 0 && number <= 0xff && end == octet.data() + octet.size();
           });
}

} // namespace zandorin
