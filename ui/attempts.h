#pragma once

#include "settings/page.h"

#include <span>

namespace zandorin {
class Engine;
}

// What a page can try with the values that are typed in, before they are stored: its button sends
// the form as "try" instead of "apply". The service does it (services/service.h) and its words are
// shown; nothing is changed.

namespace zandorin::ui {

class Table;

/// Declares what the asked attempt asks for besides, and checks it. False when none of the page's
/// attempts was asked for.
bool defineAttempt(Engine &engine, const settings::Page &page);

/// Does what was asked for, unless something that was typed in is refused, and writes what came of
/// it. Waits for the service.
void showAttempt(Engine &engine, const settings::Page &page);

/// The rows of the attempts, each with its button.
void attemptRows(Engine &engine, Table &table, std::span<const settings::Attempt> attempts);

} // namespace zandorin::ui
