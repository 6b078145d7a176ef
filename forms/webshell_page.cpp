#include "engine/engine.h"
#include "engine/formlet.h"
#include "ui/terminal_page.h"

// The appliance's own shell, for administrators.

namespace zandorin {
namespace {

void render(Engine &engine) {
    ui::showTerminal(engine, "shell", "Shell of " + engine.getCurrentUsername(), false);
}

const AutoRegisterFormlet registration("webshell", nullptr, render);

} // namespace
} // namespace zandorin
