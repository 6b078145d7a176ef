#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zandorin::responder {

/// A variable of a UPS, such as "ups.status", from NUT's upsd on this appliance (RFC 9271, GET
/// VAR). Takes at most a second.
struct UpsAnswer {
    std::optional<std::string> value = {};
    std::string problem = ""; ///< in words, where there is no value
};
UpsAnswer askUps(std::string_view ups, std::string_view variable);

} // namespace zandorin::responder
