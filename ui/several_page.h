#pragma once

#include "settings/page.h"
#include "ui/chooser.h"

// The part of a settings page that is about several of its places, or about none of them: the table
// of all, the form that changes some as one (settings/several.h), and copying from one to others.

namespace zandorin::ui {

/// True when the request is about no place or about several, or copies from one to others.
bool isAboutSeveral(Engine &engine, const Chosen &chosen);

/// A formlet's first callback for such a request: makes the change that was sent, all or nothing.
/// Problems become errors of the request.
void changeSeveral(Engine &engine, const settings::Page &page, const Chosen &chosen);

/// The second: the form for several places, otherwise the table.
void showSeveral(Engine &engine, const settings::Page &page, const Chosen &chosen,
                 const Chosen::Cell &cell);

} // namespace zandorin::ui
