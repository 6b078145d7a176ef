#pragma once

#include <istream>
#include <map>
#include <string>

namespace zandorin {

/// What lldpcli tells of one system, by the key it gives, such as "chassis.name".
using LldpValues = std::map<std::string, std::string>;

// Readers of lldpcli's output, lldpcli(8) "-f keyvalue": one value a line. The values come from the
// network and may be anything. A key that comes again takes the place of the one before, a line
// that holds no value is passed over, a line over 4 KiB is cut, and nothing is read beyond 4096
// lines or 1 MiB. A line of other output empties the answer and is logged.

/// `show neighbor details`, lines "lldp.<interface>.<key>=<value>": the neighbours by interface. An
/// interface's name ends at its first dot; the rest of a name with a dot begins its keys.
std::map<std::string, LldpValues> parseLldpNeighbours(std::istream &output);

/// `show chassis details`, lines "local-chassis.<key>=<value>".
LldpValues parseLldpChassis(std::istream &output);

} // namespace zandorin
