#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "platform/ports/port_settings.h"
#include "platform/ports/port_status.h"
#include "ui/port_words.h"
#include "ui/settings_page.h"
#include "util/escape.h"
#include "util/strings.h"

#include <optional>

// The settings of the serial ports, with what is so at each of them now.

namespace zandorin {
namespace {

/// Asked when the first cell needs it: the form of one port shows none.
class States {
  public:
    const PortState *of(unsigned number) {
        if (!isAsked_)
            states_ = portStates();
        isAsked_ = true;
        return stateOf(states_, number);
    }

  private:
    bool isAsked_ = false;
    std::optional<std::vector<PortState>> states_;
};

void render(Engine &engine) {
    States states;
    ui::renderSettings(engine, [&](const settings::Option &place, const settings::Column &column) {
        const auto number = static_cast<unsigned>(leadingNumber(place.value));
        const PortState *state = states.of(number);
        if (std::string_view(column.title) == "State")
            return ui::stateWords(portSettings(engine.config(), number), state);
        return state == nullptr ? "" : ui::usersOf(*state);
    });
}

const AutoRegisterFormlet registration("serialconfig", ui::defineSettings, render);

} // namespace
} // namespace zandorin
