#include "types/predicates.h"

#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include <sys/stat.h>

namespace zandorin {

namespace {

constexpr std::string_view safe_printable_semicolon = " ,./@:_-=$+&<>\"';";
constexpr std::string_view safe_printable =
    safe_printable_semicolon.substr(0, safe_printable_semicolon.find(';'));
constexpr std::string_view quotes = "'\"`";

constexpr std::string_view nics[] = {"wan",     "lan",    "oobfo", "wlan",
                                     "dialout", "dialin", "vpn",   "any"};
constexpr std::string_view firewall_directions[] = {"ingress", "egress"};
constexpr std::string_view firewall_tcp_protocols[] = {"tcp",  "udp", "tcp&udp", "tcpandudp",
                                                       "icmp", "gre", "esp",     "any"};

template <typename Test> bool eachByte(std::string_view value, Test test) {
    return std::all_of(value.begin(), value.end(),
                       [&](char c) { return test(static_cast<unsigned char>(c)); });
}

bool alphanumericOr(std::string_view value, std::string_view others) {
    return std::all_of(value.begin(), value.end(),
                       [&](char c) { return isAlphanumeric(c) || others.find(c) != others.npos; });
}

template <std::size_t Size>
bool oneOf(const std::string_view (&words)[Size], const std::string &value) {
    return std::find(std::begin(words), std::end(words), value) != std::end(words);
}

} // namespace

bool isValidAlphanum(const std::string &value) {
    ZANDORIN_TRACE();
    return alphanumericOr(value, ".-_");
}

bool isValidSafePrintable(const std::string &value) {
    ZANDORIN_TRACE();
    return alphanumericOr(value, safe_printable);
}

bool isValidSafePrintableWithSemiColons(const std::string &value) {
    ZANDORIN_TRACE();
    return alphanumericOr(value, safe_printable_semicolon);
}

bool isValidSnmpUserName(const std::string &value) {
    ZANDORIN_TRACE();
    return alphanumericOr(value, "-_");
}

bool isValidFilename(const std::string &value) {
    ZANDORIN_TRACE();
    return alphanumericOr(value, "-_. ");
}

bool isValidAsciiGraphical(const std::string &value) {
    ZANDORIN_TRACE();
    return eachByte(value, [](unsigned char c) { return c < 0x80 && std::isgraph(c) != 0; });
}

bool isPrintable(const std::string &value) {
    ZANDORIN_TRACE();
    return eachByte(value, [](unsigned char c) { return std::isprint(c) != 0; });
}

bool isMultiLinePrintable(const std::string &value) {
    ZANDORIN_TRACE();
    return eachByte(value,
                    [](unsigned char c) { return std::isprint(c) != 0 || std::isspace(c) != 0; });
}

bool isPrintableOrBrace(const std::string &value) {
    ZANDORIN_TRACE();
    return alphanumericOr(value, " ,-./:@_$+()");
}

bool isSinglePrintable(const std::string &value) {
    ZANDORIN_TRACE();
    return value.empty() ||
           (value.size() == 1 && quotes.find(value[0]) == quotes.npos && isPrintable(value));
}

bool isValidNIC(const std::string &value) {
    ZANDORIN_TRACE();
    return oneOf(nics, value);
}

bool isValidFirewallDirection(const std::string &value) {
    ZANDORIN_TRACE();
    return oneOf(firewall_directions, value);
}

bool isValidFirewallTCPProtocol(const std::string &value) {
    ZANDORIN_TRACE();
    return oneOf(firewall_tcp_protocols, value);
}

bool isValidBoolean(const std::string &value) {
    ZANDORIN_TRACE();
    return equalsIgnoreCase(value, "on") || equalsIgnoreCase(value, "off");
}

bool isValidDN(const std::string & /*value*/) {
    ZANDORIN_TRACE();
    return true;
}

bool isValidPassword(const std::string & /*value*/) {
    ZANDORIN_TRACE();
    return true;
}

bool isValidUnixFilePath(const std::string &value) {
    ZANDORIN_TRACE();
    // A relative name is no path of the appliance; it stands for what it is where we run.
    const std::string path = value.starts_with('/') ? appliancePath(value) : value;
    struct stat status = {};
    return path.find('\0') == std::string::npos && ::stat(path.c_str(), &status) == 0 &&
           S_ISREG(status.st_mode);
}

} // namespace zandorin
