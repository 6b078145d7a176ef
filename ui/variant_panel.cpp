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
               settings::Values &values) {
    const std::size_t first = values.all().size();
    values.add(fields);
    for (std::size_t at = first; at < values.all().size(); ++at)
        valueRow(engine, table, values.all()[at]);
}

void variantRow(Engine &engine, Table &table, const settings::List &list,
                settings::Values &values) {
    const settings::Value type = *values.find(list.variantKey);
    std::vector<const settings::Variant *> offered;
    for (const settings::Variant &variant : list.variants)
        if (variant.name == type.text || settings::isOffered(variant, engine.config()))
            offered.push_back(&variant);
    const bool isChosen =
        std::any_of(offered.begin(), offered.end(),
                    [&](const settings::Variant *variant) { return variant->name == type.text; });
    const std::string suffix = std::string("_") + list.variantWord + "_div";
    const std::string script =
        std::string("checkMenuSelect(this.value, '") + list.variantWord + "')";
    Cgi &cgi = *engine.cgi();
    table.openRow();
    table.openCell("field-label", 0, "top");
    for (const settings::Variant *variant : offered)
        cgi << "<label class=\"type-choice\">" +
                   radioInput(type.name, {{variant->name, variant->title}}, type.text, script) +
                   "</label>";
    // The script takes the button away.
    cgi << "<div class=\"type-select\">" + getApplyButton("select", "Select") + "</div>";
    table.closeCell();
    table.openCell("field-input");
    cgi << openDiv("none" + suffix, "", !isChosen) << list.unchosen << closeDiv();
    for (const settings::Variant *variant : offered) {
        cgi << openDiv(variant->name + suffix, "", variant->name == type.text);
        table.open();
        table.titleRow(variant->title);
        fieldRows(engine, table, variant->fields, values);
        table.close();
        cgi << closeDiv();
    }
    table.closeCell();
    table.closeRow();
}

} // namespace zandorin::ui
