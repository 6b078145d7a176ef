#include "settings/problems.h"
#include "settings/registry.h"
#include "settings/values.h"

// Addresses of the appliance's own network interfaces.

namespace zandorin::settings {
namespace {

constexpr Choice modes[] = {
    {"dhcp", "DHCP"},
    {"static", "Static"},
};

constexpr Choice failover_interfaces[] = {
    {"", "None"},
    {"lan", "Management LAN"},
    {"oobfo", "Out-of-band network"},
    {"wlan", "Wireless network"},
    {"dialout", "Dial-out modem"},
};

constexpr const char *mode_help =
    "With DHCP the fields below stay empty; a static interface needs its address and mask.";
constexpr const char *address_help = "Such as 192.168.0.1 or 2001:db8::1.";
constexpr const char *netmask_help = "Such as 255.255.255.0, or the number of its bits, 24.";
constexpr const char *gateway_help = "The router to other networks.";
constexpr const char *dns_help = "The name server that is asked first.";
constexpr const char *dns2_help = "The name server that is asked when the first does not answer.";

constexpr Field wan[] = {
    {.label = "Configuration Method",
     .key = "config.interfaces.wan.mode",
     .input = Input::menu,
     .choices = modes,
     .help = mode_help,
     .standard = "not set up",
     .note = "How the interface gets its address. While it is absent the appliance counts as not "
             "yet set up."},
    {.label = "IP Address",
     .key = "config.interfaces.wan.address",
     .type = "ip",
     .help = address_help,
     .note = "Needed when static."},
    {.label = "Subnet Mask",
     .key = "config.interfaces.wan.netmask",
     .type = "netmask",
     .help = netmask_help,
     .note = "Needed when static."},
    {.label = "Gateway",
     .key = "config.interfaces.wan.gateway",
     .type = "ip",
     .help = gateway_help},
    {.label = "Primary DNS", .key = "config.interfaces.wan.dns1", .type = "ip", .help = dns_help},
    {.label = "Secondary DNS",
     .key = "config.interfaces.wan.dns2",
     .type = "ip",
     .help = dns2_help},
};

constexpr Field failover[] = {
    {.label = "Failover Interface",
     .key = "config.interfaces.wan.failover.interface",
     .type = "nic",
     .input = Input::menu,
     .choices = failover_interfaces,
     .help = "Takes over while none of the probe addresses answers.",
     .note = "What takes over while no probe address answers."},
    {.label = "Primary Probe Address",
     .key = "config.interfaces.wan.failover.address1",
     .type = "address",
     .help = "A host that answers pings while the network is up. Failover needs at least one.",
     .note = "Probe address; failover needs one of the two."},
    {.label = "Secondary Probe Address",
     .key = "config.interfaces.wan.failover.address2",
     .type = "address",
     .note = "Probe address."},
};

constexpr Field lan[] = {
    {.label = "LAN Configuration Method",
     .key = "config.interfaces.lan.mode",
     .input = Input::menu,
     .choices = modes,
     .help = mode_help,
     .standard = "static",
     .note = "How the interface gets its address."},
    {.label = "LAN IP Address",
     .key = "config.interfaces.lan.address",
     .type = "ip",
     .help = address_help,
     .standard = "192.168.0.1",
     .note = "Needed when static."},
    {.label = "LAN Subnet Mask",
     .key = "config.interfaces.lan.netmask",
     .type = "netmask",
     .help = netmask_help,
     .standard = "255.255.255.0",
     .note = "Needed when static."},
    {.label = "LAN Gateway",
     .key = "config.interfaces.lan.gateway",
     .type = "ip",
     .help = gateway_help},
    {.label = "LAN Primary DNS",
     .key = "config.interfaces.lan.dns1",
     .type = "ip",
     .help = dns_help},
    {.label = "LAN Secondary DNS",
     .key = "config.interfaces.lan.dns2",
     .type = "ip",
     .help = dns2_help},
};

constexpr Section sections[] = {
    {"Network", wan},
    {"Failover", failover},
    {"Management LAN", lan},
};

/// Settles what belongs together: one message for both, in the words of the labels.
void requireAddresses(const Values &values, Problems &problems) {
    for (const std::string interface : {"config.interfaces.wan", "config.interfaces.lan"}) {
        const std::string address = interface + ".address";
        const std::string netmask = interface + ".netmask";
        problems.require(values.text(interface + ".mode") != "static" ||
                             (values.isGiven(address) && values.isGiven(netmask)),
                         values.isGiven(address) ? netmask : address,
                         "'" + values.label(address) + "' and '" + values.label(netmask) +
                             "' values are required for a statically assigned IP configuration.");
    }
    const std::string prefix = "config.interfaces.wan.failover.";
    const std::string first = prefix + "address1";
    const std::string second = prefix + "address2";
    problems.require(!values.isGiven(prefix + "interface") || values.isGiven(first) ||
                         values.isGiven(second),
                     first,
                     "'" + values.label(first) + "' and/or '" + values.label(second) +
                         "' values are required for failover mode.");
}

constexpr Page page = {.sections = sections, .rule = requireAddresses};

const AutoRegisterPage registration("ipconfig", packed<page>());

} // namespace
} // namespace zandorin::settings
