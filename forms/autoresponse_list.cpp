#include "forms/autoresponse_pages.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "forms/autoresponse_records.h"
#include "forms/autoresponse_settings.h"
#include "ui/form.h"
#include "ui/inputs.h"
#include "ui/page.h"
#include "ui/table.h"
#include "util/escape.h"

namespace zandorin::autoresponse {

namespace {

constexpr const char *cell_class = "field-output";

void renderRecords(Engine &engine, Cgi &cgi) {
    const ConfigManager &config = engine.config();
    const auto cells = [&](ui::Table &table, unsigned number, const Report &report) {
        const std::string keys = recordKey(number) + ".";
        const std::string amounts =
            shownAmounts(config, config.getElement(keys + "check_type"), keys);
        textCell(table, recordName(config, number));
        textCell(table, checkTitle(config, number) + (amounts.empty() ? "" : " (" + amounts + ")"));
        textCell(table, report.status);
        table.unsafeCell(cell_class, ui::link(target("modify", number), "Modify"));
        table.unsafeCell(cell_class, ui::link(target("delete", number), "Delete"));
        table.unsafeCell(cell_class, ui::link(target("cancel", number), "Cancel"));
    };
    recordTable(engine, cgi, "Configured Auto-Responses",
                {"Name", "Check Type", "Status", "Modify", "Delete", "Cancel"}, cells);
    cgi << "<br>";
    ui::Form form(cgi, engine.formId());
    form.openForm("get", "new", "?");
    form.hiddenInput("action", "edit");
    cgi << "<input type=\"submit\" class=\"formbtn\" value=\"New Auto-Response\">";
    form.closeForm();
}

void renderGlobal(Engine &engine, Cgi &cgi, bool submitted) {
    Place place = globalPlace();
    place.submitted = submitted;
    ui::Form form(cgi, engine.formId());
    form.openForm("post", "settings", target());
    form.hiddenInput("action", "apply");
    ui::Table table(cgi);
    table.open();
    table.titleRow("Settings");
    fieldRows(engine, cgi, table, globalFields(), place);
    table.applyButtonRow("Save Settings");
    table.close();
    form.closeForm();
}

/// A question, a button that submits the command, and a way back.
void ask(Engine &engine, Cgi &cgi, const Command &command, const std::string &question,
         const std::string &button, const std::string &back) {
    ui::Form form(cgi, engine.formId());
    form.openForm("post", "confirm", target());
    form.hiddenInput("action", command.name);
    hiddenRecord(engine, cgi, form, command.index, false);
    if (!command.list.empty()) {
        form.hiddenInput("list", command.list);
        form.hiddenInput("modify_index", std::to_string(command.action));
    }
    ui::Table table(cgi);
    table.open();
    table.textRow(question);
    table.applyButtonRow(button);
    table.close();
    form.closeForm();
    cgi << "<p>" + ui::link(back, "Back") + "</p>";
}

} // namespace

void renderList(Engine &engine, Cgi &cgi, const Command &command) {
    renderRecords(engine, cgi);
    cgi << "<br>";
    renderGlobal(engine, cgi,
                 command.changes && command.name == "apply" && !command.hasIndex &&
                     cgi.hasErrors());
}

void renderDelete(Engine &engine, Cgi &cgi, const Command &command) {
    const ConfigManager &config = engine.config();
    if (command.list.empty()) {
        ask(engine, cgi, command,
            "Delete the auto-response '" + recordName(config, command.index) +
                "' with its check and all of its actions?",
            "Delete", target());
        return;
    }
    const std::string action =
        actionList(recordKey(command.index), command.list) + std::to_string(command.action);
    const std::string type = config.getElement(action + ".type");
    ask(engine, cgi, command,
        "Delete the action '" + config.getElement(action + "." + type + ".name") + "' of '" +
            recordName(config, command.index) + "'?",
        "Delete", target("modify", command.index));
}

void renderCancel(Engine &engine, Cgi &cgi, const Command &command) {
    ask(engine, cgi, command,
        "Cancel what '" + recordName(engine.config(), command.index) +
            "' is doing? Actions that wait are not run, and its status returns to normal.",
        "Cancel Auto-Response", target());
}

} // namespace zandorin::autoresponse
