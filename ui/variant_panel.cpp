#include "ui/variant_panel.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "settings/variants.h"
#include "ui/inputs.h"
#include "ui/page.h"
#include "ui/settings_page.h"
#include "ui/table.h"

#include <algorithm>
#include <vector>

namespace zandorin::ui {

void fieldRows(Engine &engine, Table &table, std::span<const settings::Field> fields,
               const settings::Values &place) {
    settings::Values values = place;
    values.add(fields);
    for (const settings::Value &value : values.all())
        valueRow(engine, table, value);
}

void variantRow(Engine &engine, Table &table, std::span<const settings::Variant> variants,
                const VariantMenu &menu, const settings::Values &place) {
    std::vector<const settings::Variant *> offered;
    for (const settings::Variant &variant : variants)
        if (variant.name == menu.chosen || settings::isOffered(variant, engine.config()))
            offered.push_back(&variant);
    const bool isChosen =
        std::any_of(offered.begin(), offered.end(),
                    [&](const settings::Variant *variant) { return variant->name == menu.chosen; });
    const std::string suffix = std::string("_") + menu.menu + "_div";
    const std::string script = std::string("checkMenuSelect(this.value, '") + menu.menu + "')";
    Cgi &cgi = *engine.cgi();
    table.openRow();
    table.openCell("field-label", 0, "top");
    for (const settings::Variant *variant : offered)
        cgi << "<label class=\"type-choice\">" +
                   radioInput(menu.name, {{variant->name, variant->title}}, menu.chosen, script) +
                   "</label>";
    // The script takes the button away.
    cgi << "<div class=\"type-select\">" + getApplyButton("select", "Select") + "</div>";
    table.closeCell();
    table.openCell("field-input");
    cgi << openDiv("none" + suffix, "", !isChosen) << menu.none << closeDiv();
    for (const settings::Variant *variant : offered) {
        cgi << openDiv(variant->name + suffix, "", variant->name == menu.chosen);
        table.open();
        table.titleRow(variant->title);
        fieldRows(engine, table, variant->fields, place);
        table.close();
        cgi << closeDiv();
    }
    table.closeCell();
    table.closeRow();
}

} // namespace zandorin::ui
