#pragma once

#include "settings/packed.h"
#include "settings/values.h"
#include "ui/chooser.h"

#include <functional>
#include <span>
#include <string>

namespace zandorin {
class Engine;
}

// A page of settings from its table (settings/page.h): both callbacks of a formlet. A page with
// something of its own besides registers callbacks that call these, in forms/<id>_page.cpp.

namespace zandorin::ui {

class Form;
class Table;

/// Declares the elements of every section, adds an error for each rule of the table that the
/// submission breaks, and has lists of values saved with the form. Without a table for the page:
/// nothing.
void defineSettings(Engine &engine);

/// Writes the form: a titled group of rows for each section, and an apply button; then the page's
/// lists. `cell` is for the table of a chooser with columns.
void renderSettings(Engine &engine, const Chosen::Cell &cell);
inline void renderSettings(Engine &engine) {
    renderSettings(engine, nullptr);
}

/// Engine::lockSettings, with what an older release kept differently in its place in the store's
/// memory.
bool lockPage(Engine &engine, const settings::Page &page);

/// The table of the request's page, loaded once; null when it has none.
const settings::Page *settingsPage(Engine &engine);

// The pieces, for pages that are made of more than one form.

/// Declares the elements of these values, adds an error for each rule that they break, and has
/// what is no single value saved with the form.
void defineValues(Engine &engine, const settings::Values &values, settings::Rule rule);

/// The values of a page's sections as the request leaves them: submitted, where the page shows a
/// submission again that was refused, else stored.
settings::Values shownValues(Engine &engine, std::span<const settings::Section> sections,
                             const settings::Place &place);

/// Writes the rows of a section in a way of their own; false when they have none.
using SectionRows = std::function<bool(Table &table, const settings::Section &section,
                                       std::span<const settings::Value> values)>;
/// The rows of the sections that are offered, each under its title. `values` begin with theirs.
void sectionRows(Engine &engine, Table &table, std::span<const settings::Section> sections,
                 const settings::Values &values, const SectionRows &own = nullptr);
/// The form of these sections, with the name that a page knows it by.
void settingsForm(Engine &engine, const std::string &name, const Chosen &chosen,
                  std::span<const settings::Section> sections, const settings::Values &values,
                  const std::string &button = "Apply",
                  std::span<const settings::Attempt> attempts = {});
/// What will be stored of a value that is one text and declared: the submitted one, or what is
/// stored by now where its user left it as the page showed it.
std::string textToBe(Engine &engine, const settings::Value &value);
/// One row; none for boxes without a choice.
void valueRow(Engine &engine, Table &table, const settings::Value &value);

/// The hidden field that says what the values were when the page was made.
void fingerprintInput(Engine &engine, Form &form, const settings::Values &values);

} // namespace zandorin::ui
