#pragma once

#include <iterator>
#include <string_view>

namespace zandorin {

/// The element types, in the order of their registration; "text", the built-in one, is first.
inline constexpr const char *type_names[] = {
    "text",
    "alphanum",
    "printablesafe",
    "printablesafesemicolon",
    "boolean",
    "nic",
    "firewalldirection",
    "ssh_delimiter",
    "firewalltcpprotocol",
    "userposix",
    "useremail",
    "username",
    "groupposix",
    "snmpusername",
    "printable",
    "unsafe_printable",
    "multiline_printable",
    "unsafe_multiline_printable",
    "unsafe_printable_braces",
    "phonenumber",
    "asciigraphical",
    "unsafe_asciigraphical",
    "filename",
    "ipsectunnelid",
    "unixfile",
    "numeric",
    "integer",
    "unsigned16bit",
    "distinguishedname",
    "ip",
    "ipv4",
    "ipv6",
    "hostname",
    "address",
    "addresslist",
    "addressportlist",
    "port",
    "netmask",
    "netmask_cidr",
    "netmask_ipv4_cidr",
    "subnet",
    "subnetlist",
    "iporsubnet",
    "mac",
    "sshauthkey",
    "password",
    "email",
    "tcpport",
    "tcpportrange",
};

/// An element type's name in a table: a word that is none does not compile. Kept as its number, so
/// that a table needs no address for it.
class TypeName {
  public:
    consteval TypeName(const char *name) : number_(numberOf(name)) {}
    /// What `number` answered.
    constexpr explicit TypeName(unsigned char number) : number_(number) {}

    constexpr const char *name() const { return type_names[number_]; }
    constexpr unsigned char number() const { return number_; }
    friend constexpr bool operator==(TypeName a, TypeName b) { return a.number_ == b.number_; }

  private:
    static consteval unsigned char numberOf(std::string_view name) {
        for (unsigned number = 0; number < std::size(type_names); ++number)
            if (name == type_names[number])
                return static_cast<unsigned char>(number);
        throw "no such element type"; // does not compile
    }

    unsigned char number_;
};

} // namespace zandorin
