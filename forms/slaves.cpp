#include "settings/fields.h"
#include "settings/registry.h"

// Other appliances, whose serial ports are opened from this one as well.

namespace zandorin::settings {
namespace {

constexpr Field own[] = {
    {.label = "Accepted Networks",
     .key = "config.slaves.accept",
     .type = "subnetlist",
     .help = "Which other appliances may open the ports of this one, such as 192.168.0.0/24, "
             "separated by commas. Empty: none. They vouch for their users: a user of theirs has "
             "here the ports that a user of the same name has."},
};
constexpr Section sections[] = {{"This Appliance", own}};

constexpr Field slave[] = {
    {.label = "Name",
     .key = ".name",
     .type = "alphanum",
     .help = "In front of its ports, as in \"attic/port3\".",
     .maxlength = 32,
     .missing = "<i>Name</i> can not be empty."},
    {.label = "Address",
     .key = ".address",
     .type = "address",
     .help = "A host name or an IP address.",
     .missing = "<i>Address</i> can not be empty."},
    {.label = "Serial Ports",
     .key = ".ports",
     .type = "numeric",
     .help = "How many it has, 1 to 96. Empty: 8.",
     .maxlength = 2,
     .least = 1,
     .most = 96,
     .standard = "8"},
};
constexpr Section slave_sections[] = {{"", slave}};
constexpr Column columns[] = {
    {.title = "Name", .key = ".name"},
    {.title = "Address", .key = ".address"},
    {.title = "Serial Ports", .key = ".ports"},
};

constexpr List lists[] = {
    {.key = "config.slaves",
     .word = "slave",
     .title = "Other Appliances",
     .singular = "Appliance",
     .empty = "None. The ports of an appliance that is entered here are opened from this one, too.",
     .name = ".name",
     .columns = columns,
     .sections = slave_sections,
     .question = "Delete the appliance '{}'?"},
};

constexpr Page page = {.sections = sections, .lists = lists};

const AutoRegisterPage registration("slaves", packed<page>());

} // namespace
} // namespace zandorin::settings
