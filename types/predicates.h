#pragma once

#include <string>

// The tests behind the element types, callable by forms as well. Each looks at the whole value, as
// submitted, and answers whether it is acceptable; none reports anything to the user. Bytes are
// classified as in the C locale. A NUL byte is an ordinary byte, which no format below holds:
// nothing behind one goes unseen, but where a number's trailing bytes are ignored.

namespace zandorin {

// Every byte belongs to a set; an empty value is accepted.
bool isValidAlphanum(const std::string &value); ///< letters, digits and . - _
bool isValidSafePrintable(
    const std::string &value); ///< letters, digits, the space, ,./@:_-=$+&<>"'
bool isValidSafePrintableWithSemiColons(const std::string &value); ///< these and ;
bool isValidSnmpUserName(const std::string &value);                ///< letters, digits, - and _
bool isValidFilename(const std::string &value); ///< letters, digits, - _ . and the space
bool isValidAsciiGraphical(const std::string &value);
bool isPrintable(const std::string &value);
bool isMultiLinePrintable(const std::string &value); ///< printable, tabs and line breaks
/// Letters, digits, the space and ,-./:@_$+() ; round brackets are the only ones.
bool isPrintableOrBrace(const std::string &value);
/// Nothing, or one printable character that is no quote of any kind.
bool isSinglePrintable(const std::string &value);

// One of a few words, in this letter case; an empty value is refused.
bool isValidNIC(const std::string &value);
bool isValidFirewallDirection(const std::string &value);
bool isValidFirewallTCPProtocol(const std::string &value);
bool isValidBoolean(const std::string &value); ///< "on" or "off" in any letter case

// Patterns. Lists of phone numbers and e-mail addresses are separated by spaces and commas; a list
// without a piece is accepted.
bool isValidPosixUser(const std::string &value);
bool isValidUserName(const std::string &value); ///< isValidPosixUser or isValidEmail
/// Each piece: an optional "+", then 3 to 24 groups of digits, each with or without one of . ( ) s
/// or a backslash at its end. No hyphen.
bool isValidPhoneNumber(const std::string &value);
bool isValidEmail(const std::string &value);
/// A public key line of sshd(8), AUTHORIZED_KEYS, without options: RSA, ECDSA or Ed25519, or a
/// certificate of one. What stands behind the key is a comment and is not looked at.
bool isValidSshAuthKey(const std::string &value);
/// The identity of an IPsec peer: %fromcert, %none, %myid, an IP address, "@" and a host name, an
/// e-mail address or a host name. Logs which one it was.
bool isValidIpsecId(const std::string &value);

// Numbers, decimal.
bool isValidNumeric(const std::string &value); ///< digits only, any number of them, even none
bool isValidInteger(const std::string &value); ///< the same, a "-" first when more follows
/// 0 to 65535 as strtol reads it: trailing bytes are ignored and what is no number is 0.
bool isValidUnsigned16Bit(const std::string &value);
bool isValidTCPPort(const std::string &value); ///< read the same way, 1 to 65535
/// Two such ports, the second not below the first, separated by "-"; or one. Empty pieces and
/// whatever follows the second are ignored.
bool isValidTCPPortRange(const std::string &value);
bool isValidPort(const std::string &value);    ///< digits only, 1 to 65534
bool isValidCidr32(const std::string &value);  ///< digits only, at most 32; empty is 0
bool isValidCidr128(const std::string &value); ///< digits only, at most 128; empty is 0
/// Six hexadecimal numbers up to ff separated by colons, several of which count as one; or nothing.
bool isValidMAC(const std::string &value);

// Network addresses.
bool isValidIPv4(const std::string &value); ///< dotted quad
bool isValidIPv6(const std::string &value); ///< RFC 4291, in square brackets or without
bool isValidIPAddress(const std::string &value);
/// Letters, digits, "-" and ".", at least one letter.
bool isValidHostName(const std::string &value);
bool isValidNetworkAddress(const std::string &value); ///< an IP address or a host name
bool isValidNetmask(const std::string &value);        ///< an IP address or isValidCidr128
bool isValidSubnet(const std::string &value);         ///< <network address>/<netmask>
bool isValidIPOrSubnet(const std::string &value);
/// A network address with or without ":<port>"; an IPv6 address before a port is in brackets.
bool isValidAddressPort(const std::string &value);

// Lists separated by commas; no piece may be empty.
bool isValidNetworkAddressList(const std::string &value);
bool isValidAddressPortList(const std::string &value);
bool isValidSubnetList(const std::string &value);

// Anything goes; other rules govern the contents.
bool isValidDN(const std::string &value);
bool isValidPassword(const std::string &value);

/// Names a regular file of the appliance, or leads to one by symbolic links.
bool isValidUnixFilePath(const std::string &value);

} // namespace zandorin
