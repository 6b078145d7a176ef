#include "forms/autoresponse_pages.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "forms/autoresponse_records.h"
#include "forms/autoresponse_settings.h"
#include "ui/form.h"
#include "ui/inputs.h"
#include "ui/page.h"
#include "ui/table.h"

namespace zandorin::autoresponse {

namespace {

std::vector<const Type *> offeredChecks(const ConfigManager &config, const std::string &chosen) {
    std::vector<const Type *> types;
    for (const Type &type : checkTypes())
        if (type.name == chosen || isOffered(config, type))
            types.push_back(&type);
    return types;
}

void renderRecord(Engine &engine, Cgi &cgi, unsigned index, bool submitted) {
    const ConfigManager &config = engine.config();
    Place place = recordPlace(config, index);
    place.submitted = submitted;
    const std::string chosen = shownText(engine, cgi, "check_type", place);
    ui::Form form(cgi, engine.formId());
    form.openForm("post", "autoresponse", target());
    form.hiddenInput("action", "apply");
    hiddenRecord(engine, cgi, form, index, submitted);
    ui::Table table(cgi);
    table.open();
    table.titleRow(index == 0 ? "New Auto-Response" : recordName(config, index));
    fieldRows(engine, cgi, table, generalFields(), place);
    timesRow(engine, cgi, table, place);
    table.titleRow("Check");
    typeMenuRow(engine, cgi, table,
                {.menu = "check",
                 .name = place.fields + "check_type",
                 .chosen = chosen,
                 .none = "Add a new check by selecting a check type from the left menu",
                 .types = offeredChecks(config, chosen)},
                place);
    table.applyButtonRow("Save Auto-Response");
    table.close();
    form.closeForm();
}

} // namespace

void renderEdit(Engine &engine, Cgi &cgi, const Command &command) {
    const ConfigManager &config = engine.config();
    const bool applied = command.changes && command.name == "apply";
    const bool submitted = applied && (command.select || cgi.hasErrors());
    unsigned index = command.index;
    if (index == 0 && applied && !submitted)
        index = countEntries(config, all_records); // it was made just now
    cgi << "<script type=\"text/javascript\" src=\"" +
               ui::resourcePath("/scripts/autoresponse.js") + "\"></script>";
    renderRecord(engine, cgi, index, submitted);
    cgi << "<br>";
    if (!config.getElement(recordPlace(config, index).keys + "check_type").empty()) {
        renderActions(engine, cgi, command, index);
    } else {
        ui::Table table(cgi);
        table.open();
        table.titleRow("Actions");
        table.textRow("Please select a check type and save the Auto-Response "
                      "before attempting to add actions");
        table.close();
    }
    cgi << "<p>" + ui::link(target(), "All Auto-Responses") + "</p>";
}

} // namespace zandorin::autoresponse
