// lldpcli's output: what is read is rendered and read the same, within the limits, and a line that
// is added is there.

#include "fuzz/support/support.h"

#include "util/lldp.h"

#include <sstream>

namespace zandorin::fuzz {

constexpr std::size_t longest_line = 4096;

template <typename Answer> Answer parse(Answer (*parser)(std::istream &), const std::string &text) {
    std::istringstream output(text);
    return parser(output);
}

std::string render(const LldpValues &values, const std::string &prefix) {
    std::string text;
    for (const auto &[key, value] : values) {
        require(prefix.size() + key.size() + value.size() < longest_line);
        text.append(prefix).append(key).append("=").append(value).append("\n");
    }
    return text;
}

void run(std::string_view bytes) {
    Pieces input(bytes);
    const auto padding = input.number<std::size_t>(0, 2 * longest_line);
    std::string text = input.rest();
    if (const auto place = text.find("=#"); place != text.npos)
        text.insert(place + 1, padding, 'x');

    auto all = parse(parseLldpNeighbours, text);
    std::string rendered;
    for (const auto &[interface, values] : all) {
        require(!values.empty());
        rendered += render(values, "lldp." + interface + ".");
    }
    require(parse(parseLldpNeighbours, rendered) == all);
    const LldpValues own = parse(parseLldpChassis, text);
    require(parse(parseLldpChassis, render(own, "local-chassis.")) == own);

    // A foreign line empties the answer: the line that is added stands alone, or with the rest.
    auto more = parse(parseLldpNeighbours, "lldp.added.key=value\n" + text);
    require(more.empty() || more["added"].contains("key"));
    more["added"].erase("key");
    all["added"].erase("key");
    require(more == all);
    const LldpValues moreOwn = parse(parseLldpChassis, "local-chassis.added=value\n" + text);
    require(moreOwn.empty() || moreOwn.contains("added"));
}

} // namespace zandorin::fuzz
