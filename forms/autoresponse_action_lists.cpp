#include "forms/autoresponse_pages.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "forms/autoresponse_records.h"
#include "ui/form.h"
#include "ui/inputs.h"
#include "ui/page.h"
#include "ui/table.h"

namespace zandorin::autoresponse {

namespace {

struct ActionList {
    const char *word;
    const char *title;
    const char *button;
};
/// Where a link to an action leads on the page.
constexpr const char *panel_id = "action-panel";
constexpr ActionList lists[] = {
    {"trigger", "Trigger Actions", "New Trigger Action"},
    {"resolve", "Resolve Actions", "New Resolve Action"},
};

void actionRow(const ConfigManager &config, ui::Table &table, const ActionList &list,
               unsigned record, unsigned number) {
    const std::string keys =
        actionList(recordKey(record), list.word) + std::to_string(number) + ".";
    const std::string name = config.getElement(keys + "type");
    const Type *type = findType(actionTypes(), name);
    const std::string delay = config.getElement(keys + name + ".delay_time");
    const std::string rest = "&modify_index=" + std::to_string(number);
    const std::string panel = std::string("#") + panel_id;
    constexpr const char *cell_class = "field-output";
    table.openRow();
    textCell(table, (delay.empty() ? "0" : delay) + " s");
    textCell(table, config.getElement(keys + name + ".name"));
    textCell(table, type == nullptr ? name : type->title);
    table.unsafeCell(cell_class, ui::link(target(list.word, record, rest + panel), "Modify"));
    table.unsafeCell(
        cell_class,
        ui::link(target("delete", record, "&list=" + std::string(list.word) + rest), "Delete"));
    table.closeRow();
}

void renderPanel(Engine &engine, Cgi &cgi, const Command &command, const char *newTitle) {
    const ConfigManager &config = engine.config();
    const bool isNew = command.isNewAction();
    const unsigned total = countEntries(config, actionList(recordKey(command.index), command.list));
    Place place = actionPlace(config, command);
    place.submitted = command.changes;
    const std::string typeField = actionTypeField(command.list);
    // The link of an action says which one, its type is stored.
    const std::string type = isNew || command.changes ? cgi.getVarString(typeField).raw
                                                      : config.getElement(place.keys + "type");
    const Type *known = findType(actionTypes(), type);

    cgi << ui::openDiv(panel_id, "", true) << ui::closeDiv();
    ui::Form form(cgi, engine.formId());
    form.openForm("post", "action", target());
    form.hiddenInput("action", command.list + (isNew ? "_new" : "_save"));
    hiddenRecord(engine, cgi, form, command.index, place.submitted);
    ui::Table table(cgi);
    table.open();
    table.titleRow(isNew ? newTitle : known == nullptr ? "Action" : known->title);
    if (isNew) {
        TypeMenu menu = {.menu = "action",
                         .name = typeField,
                         .chosen = type,
                         .none = "Select an action type from the left menu",
                         .types = {}};
        for (const Type &each : actionTypes())
            menu.types.push_back(&each);
        typeMenuRow(engine, cgi, table, menu, place);
    } else {
        form.hiddenInput("modify_index", std::to_string(command.action));
        form.hiddenInput(typeField, type);
        if (known != nullptr)
            fieldRows(engine, cgi, table, known->fields, place);
        else
            table.textRow("Unknown Action Type");
    }
    const unsigned last = isNew ? total + 1 : total;
    const std::string position = place.fields + position_key;
    const auto wanted = cgi.getVarNumber(position);
    const int shown = static_cast<int>(isNew ? last : command.action);
    table.menuInputNumRangeRow("Position", position, 1, static_cast<int>(last),
                               place.submitted && wanted > 0 ? wanted : shown,
                               "Actions are started in this order, each after its own delay.");
    table.applyButtonRow("Save Action");
    table.close();
    form.closeForm();
}

/// True when the page is to show an action's panel: it was asked for, or what was typed in it was
/// refused.
bool wantsPanel(Engine &engine, const Command &command, unsigned total) {
    if (command.changes && !command.select && !engine.cgi()->hasErrors())
        return false;
    return command.isNewAction() ||
           (command.name != "delete" && command.action >= 1 && command.action <= total);
}

} // namespace

void renderActions(Engine &engine, Cgi &cgi, const Command &command, unsigned record) {
    const ConfigManager &config = engine.config();
    for (const ActionList &list : lists) {
        const unsigned total = countEntries(config, actionList(recordKey(record), list.word));
        ui::Table table(cgi);
        table.open();
        table.titleRow(list.title);
        if (total == 0)
            table.textRow("No Actions Scheduled");
        else
            headingRow(table, {"Delay Time", "Action Name", "Action Type", "Modify", "Delete"});
        for (unsigned number = 1; number <= total; ++number)
            actionRow(config, table, list, record, number);
        table.close();
        cgi << "<br>";
        if (command.list == list.word && wantsPanel(engine, command, total)) {
            renderPanel(engine, cgi, command, list.button);
        } else {
            ui::Form form(cgi, engine.formId());
            form.openForm("get", list.word, std::string("?#") + panel_id);
            form.hiddenInput("action", std::string(list.word) + "_new");
            form.hiddenInput("index", std::to_string(record));
            cgi << std::string("<input type=\"submit\" class=\"formbtn\" value=\"") + list.button +
                       "\">";
            form.closeForm();
        }
        cgi << "<br>";
    }
}

} // namespace zandorin::autoresponse
