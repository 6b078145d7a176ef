// Predicates: what is accepted holds only the bytes of its format, one format implies another, and
// a list is as good as its pieces. Every type of a form is asked, too.

#include "fuzz/support/support.h"

#include "types/elem_type.h"
#include "types/predicates.h"

namespace zandorin::fuzz {

using Predicate = bool (*)(const std::string &);

#define LETTERS "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
#define ALNUM LETTERS "0123456789"
#define HEX "abcdefABCDEF0123456789"
#define PRINTABLE ALNUM " !\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~"

/// What is accepted holds no other byte.
const struct {
    const char *bytes;
    std::vector<Predicate> predicates;
} formats[] = {
    {PRINTABLE, {isValidAsciiGraphical, isPrintable, isSinglePrintable}},
    {ALNUM " ,./@:_-=$+&<>\"'", {isValidSafePrintable}},
    {ALNUM " ,./@:_-=$+&<>\"';", {isValidSafePrintableWithSemiColons}},
    {ALNUM " ,-./:@_$+()", {isPrintableOrBrace}},
    {ALNUM "._-", {isValidAlphanum, isValidPosixUser}},
    {ALNUM "-_", {isValidSnmpUserName}},
    {ALNUM "-_. ", {isValidFilename}},
    {LETTERS, {isValidNIC, isValidFirewallDirection}},
    {LETTERS "&", {isValidFirewallTCPProtocol}},
    {"onfONF", {isValidBoolean}},
    {ALNUM "._-@[]\\ ,", {isValidUserName, isValidEmail}},
    {"0123456789+.()s\\ ,", {isValidPhoneNumber}},
    {ALNUM "%@._-:[]\\ ,", {isValidIpsecId}},
    {"0123456789", {isValidNumeric, isValidPort, isValidCidr32, isValidCidr128}},
    {"0123456789-", {isValidInteger}},
    {HEX "xX:+- \t\n\v\f\r", {isValidMAC}},
    {"0123456789.", {isValidIPv4}},
    {HEX ":.[]", {isValidIPv6, isValidIPAddress, isValidNetmask}},
    {ALNUM "-.", {isValidHostName}},
    {ALNUM "-.:[]", {isValidNetworkAddress, isValidAddressPort}},
    {ALNUM "-.:[],", {isValidNetworkAddressList, isValidAddressPortList}},
    {ALNUM "-.:[]/", {isValidSubnet, isValidIPOrSubnet}},
    {ALNUM "-.:[]/,", {isValidSubnetList}},
};

/// Whoever accepts a value of the first accepts it as the second.
constexpr Predicate implications[][2] = {
    {isValidAlphanum, isValidSafePrintable}, {isValidAlphanum, isValidFilename},
    {isValidPosixUser, isValidAlphanum},     {isPrintable, isMultiLinePrintable},
    {isValidNumeric, isValidInteger},        {isValidPort, isValidTCPPort},
    {isValidPort, isValidTCPPortRange},      {isValidTCPPort, isValidUnsigned16Bit},
    {isValidIPAddress, isValidNetmask},      {isValidNetworkAddress, isValidAddressPort},
    {isValidSubnet, isValidIPOrSubnet}};

constexpr Predicate lists[][2] = {{isValidNetworkAddressList, isValidNetworkAddress},
                                  {isValidAddressPortList, isValidAddressPort},
                                  {isValidSubnetList, isValidSubnet}};

void requireBytes(const std::string &value) {
    for (const auto &[bytes, predicates] : formats)
        if (value.find_first_not_of(bytes) != value.npos)
            for (const Predicate accepts : predicates)
                require(!accepts(value), bytes);
}

/// A decimal number of at most five digits behind its zeros, -1 for any other text.
long number(const std::string &digits) {
    const auto first = std::min(digits.find_first_not_of('0'), digits.size());
    const bool fits = isValidNumeric(digits) && digits.size() - first <= 5;
    return fits ? std::stol("0" + digits.substr(first)) : -1;
}

void run(std::string_view input) {
    static const ElemTypes types;
    const std::string value(input);
    for (const auto &[name, type] : types)
        type.validator(value);
    requireBytes(value);
    requireBytes(value + '\0' + "; reboot"); // what stands behind a zero byte is looked at
    for (const auto &[special, general] : implications)
        require(!special(value) || general(value));

    const long whole = number(value);
    require(isValidPort(value) == (whole >= 1 && whole <= 65534));
    require(isValidCidr32(value) == (whole >= 0 && whole <= 32));
    require(isValidTCPPort(value) || !isValidNumeric(value) || whole < 1 || whole > 65535);

    const auto middle = std::min(value.find(','), value.size());
    const std::string front = value.substr(0, middle);
    for (const auto &[list, piece] : lists) {
        require(list(front) == piece(front));
        if (middle < value.size())
            require(list(value) == (piece(front) && list(value.substr(middle + 1))));
    }
}

} // namespace zandorin::fuzz
