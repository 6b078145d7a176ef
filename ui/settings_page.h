#pragma once

#include "ui/settings_table.h"

#include <string>

// A settings page as a table of rows, from which both callbacks of its formlet follow:
//
//     constexpr ui::Setting server[] = {
//         {.label = "Server", .key = "config.system.smtp.server", .type = "address"},
//     };
//     constexpr ui::Section sections[] = {{"Mail server", server}};
//     const AutoRegisterFormlet registration("smtp", ui::defineSettings<sections>,
//                                            ui::renderSettings<sections>);
//
// All of it is data that the compiler packs (ui/settings_table.h): a page costs a request for
// another one nothing. A page whose keys lie below one that the request chooses (a serial port's,
// say) writes them from their "." on and hands the rest to defineSettings and renderSettings as
// `prefix`.

namespace zandorin::ui {

/// Declares the elements of every section's settings and refuses a submitted value that its menu
/// does not offer.
void defineSettings(Engine &engine, const SettingsTable &table, const std::string &prefix);
template <const auto &sections> void defineSettings(Engine &engine, const std::string &prefix) {
    defineSettings(engine, packed<sections>(), prefix);
}
template <const auto &sections> void defineSettings(Engine &engine) {
    defineSettings<sections>(engine, "");
}

/// Writes the form: a titled group of rows for each section, and an apply button.
void renderSettings(Engine &engine, const SettingsTable &table, const std::string &prefix);
template <const auto &sections> void renderSettings(Engine &engine, const std::string &prefix) {
    renderSettings(engine, packed<sections>(), prefix);
}
template <const auto &sections> void renderSettings(Engine &engine) {
    renderSettings<sections>(engine, "");
}

} // namespace zandorin::ui
