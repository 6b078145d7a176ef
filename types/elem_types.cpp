#include "types/elem_type.h"

#include "types/predicates.h"

namespace zandorin {

namespace {

struct Row {
    const char *name;
    const char *description;
    bool (*validator)(const std::string &);
    bool allowMarkup;
};

// clang-format off
constexpr Row rows[] = {
    {"alphanum", "Alpha-Numeric String", isValidAlphanum, true},
    {"printablesafe", "String of limited printable characters", isValidSafePrintable, true},
    {"printablesafesemicolon", "String of limited printable characters including semi-colon", isValidSafePrintableWithSemiColons, true},
    {"boolean", "Boolean Value", isValidBoolean, false},
    {"nic", "Network Interface", isValidNIC, false},
    {"firewalldirection", "Firewall Direction", isValidFirewallDirection, false},
    {"ssh_delimiter", "Single printable character", isSinglePrintable, true},
    {"firewalltcpprotocol", "Firewall TCP Protocol", isValidFirewallTCPProtocol, false},
    {"userposix", "Posix User Name", isValidPosixUser, true},
    {"useremail", "Email User Name", isValidEmail, true},
    {"username", "User Name", isValidUserName, true},
    {"groupposix", "Posix Group Name", isValidPosixUser, true},
    {"snmpusername", "SNMP User Name", isValidSnmpUserName, true},
    {"printable", "Printable String", isPrintable, false},
    {"unsafe_printable", "Printable String containing Markup", isPrintable, true},
    {"multiline_printable", "Multi-Line Printable String", isMultiLinePrintable, false},
    {"unsafe_multiline_printable", "Multi-Line Printable String containing Markup", isMultiLinePrintable, true},
    {"unsafe_printable_braces", "Printable String which may contain Braces", isPrintableOrBrace, true},
    {"phonenumber", "Phone Number", isValidPhoneNumber, false},
    {"asciigraphical", "ASCII with no whitespace string", isValidAsciiGraphical, false},
    {"unsafe_asciigraphical", "ASCII with no whitespace string, containing Markup", isValidAsciiGraphical, true},
    {"filename", "Filename", isValidFilename, true},
    {"ipsectunnelid", "A valid IPSec Left/Right ID.", isValidIpsecId, true},
    {"unixfile", "File Path for an existing File", isValidUnixFilePath, true},
    {"numeric", "Non-negative Integer", isValidNumeric, false},
    {"integer", "Integer", isValidInteger, false},
    {"unsigned16bit", "Positive Integer between 0 and 65535", isValidUnsigned16Bit, false},
    {"distinguishedname", "Distinguished Name", isValidDN, true},
    {"ip", "IP Address", isValidIPAddress, true},
    {"ipv4", "IPv4 Address", isValidIPv4, true},
    {"ipv6", "IPv6 Address", isValidIPv6, true},
    {"hostname", "Fully Qualified Domain Name", isValidHostName, true},
    {"address", "Network Address", isValidNetworkAddress, true},
    {"addresslist", "comma separated list of Network Addresses", isValidNetworkAddressList, true},
    {"addressportlist", "comma separated list of Network Addresses with optional Port", isValidAddressPortList, true},
    {"port", "Ephemeral Port", isValidPort, true},
    {"netmask", "Network Mask", isValidNetmask, true},
    {"netmask_cidr", "Network Mask (CIDR)", isValidCidr128, true},
    {"netmask_ipv4_cidr", "IPv4 Network Mask (CIDR)", isValidCidr32, true},
    {"subnet", "Subnet", isValidSubnet, true},
    {"subnetlist", "Subnet List", isValidSubnetList, true},
    {"iporsubnet", "IP Address/Subnet", isValidIPOrSubnet, true},
    {"mac", "MAC Address", isValidMAC, false},
    {"sshauthkey", "SSH Authentication Key", isValidSshAuthKey, true},
    {"password", "Password", isValidPassword, true},
    {"email", "Email Address", isValidEmail, false},
    {"tcpport", "TCP Port", isValidTCPPort, false},
    {"tcpportrange", "TCP Port Range", isValidTCPPortRange, false},
};
// clang-format on

} // namespace

ElemTypes::ElemTypes() {
    for (const Row &row : rows)
        add(row.name, FormElemType{row.description, row.validator, row.allowMarkup});
}

} // namespace zandorin
