#include "ui/port_words.h"

#include <algorithm>

namespace zandorin::ui {

std::string stateWords(const PortSettings &port, const PortState *state) {
    switch (port.mode) {
    case PortMode::off:
        return "off";
    case PortMode::device:
        return "managed device";
    case PortMode::login:
        return "login";
    default:
        return state == nullptr ? "" : state->state;
    }
}

std::string usersOf(const PortState &state) {
    std::string words;
    for (const PortUser &user : state.users)
        words += (words.empty() ? "" : ", ") + user.user + (user.writes ? " writes" : " watches");
    return words;
}

} // namespace zandorin::ui
