#pragma once

#include "settings/page.h"
#include "settings/values.h"

#include <span>
#include <string>

namespace zandorin {
class Engine;
}

namespace zandorin::ui {

class Table;

/// A row with a menu of variants on the left and, on the right, the settings of each in a panel of
/// its own, the block <variant>_<menu>_div, of which only the chosen one's is seen. The page script
/// checkMenuSelect switches them; without it a button "select" sends the form.
struct VariantMenu {
    const char *menu;
    std::string name;   ///< of the field with the chosen variant's name
    std::string chosen; ///< "" for none
    const char *none;   ///< markup shown while none is chosen
};

/// `place` holds no fields: it says where those of the panels are, and what was submitted. A
/// variant that is not offered is left out unless it is the chosen one.
void variantRow(Engine &engine, Table &table, std::span<const settings::Variant> variants,
                const VariantMenu &menu, const settings::Values &place);

/// The rows of one variant's fields, or of any others at that place.
void fieldRows(Engine &engine, Table &table, std::span<const settings::Field> fields,
               const settings::Values &place);

} // namespace zandorin::ui
