#pragma once

#include "settings/values.h"

#include <string>

namespace zandorin {
class Engine;
}

namespace zandorin::ui {

class Table;

/// A row with a menu of a list's variants on the left and, on the right, the settings of each in a
/// panel of its own, the block <variant>_<variantWord>_div, of which only the chosen one's is seen.
/// The page script checkMenuSelect switches them; without it a button "select" sends the form.
/// `values` hold the record's fields without a variant's, and afterwards those of every panel too.
/// A variant that is not offered is left out unless it is the chosen one.
void variantRow(Engine &engine, Table &table, const settings::List &list, settings::Values &values);

/// The rows of one variant's fields, which are added to the values.
void fieldRows(Engine &engine, Table &table, std::span<const settings::Field> fields,
               settings::Values &values);

} // namespace zandorin::ui
