#include "forms/autoresponse_pages.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "forms/autoresponse_records.h"
#include "ui/form.h"
#include "ui/inputs.h"
#include "ui/page.h"
#include "ui/table.h"
#include "util/escape.h"

namespace zandorin::autoresponse {

std::string target(const std::string &action, const std::string &rest) {
    return "?form=autoresponse" + (action.empty() ? "" : "&action=" + action) + rest;
}

std::string target(const std::string &action, unsigned record, const std::string &rest) {
    return target(action, "&index=" + std::to_string(record) + rest);
}

std::string recordName(const ConfigManager &config, unsigned record) {
    const std::string name = config.getElement(recordKey(record) + ".name");
    return name.empty() ? "Auto-Response " + std::to_string(record) : name;
}

std::string checkTitle(const ConfigManager &config, unsigned record) {
    const std::string name = config.getElement(recordKey(record) + ".check_type");
    const Type *check = findType(checkTypes(), name);
    return check == nullptr ? name : check->title;
}

void textCell(ui::Table &table, const std::string &text) {
    table.unsafeCell("field-output", escapeXmlText(text));
}

void headingRow(ui::Table &table, const std::vector<std::string> &titles) {
    table.openRow();
    for (const std::string &title : titles)
        table.unsafeCell("field-label", escapeXmlText(title));
    table.closeRow();
}

void recordTable(Engine &engine, Cgi &cgi, const std::string &title,
                 const std::vector<std::string> &headings,
                 const std::function<void(ui::Table &, unsigned, const Report &)> &cells) {
    const unsigned count = countEntries(engine.config(), all_records);
    ui::Table table(cgi);
    table.open();
    table.titleRow(title);
    headingRow(table, headings);
    unsigned number = 0;
    for (const Report &report : readReports(count)) {
        table.openRow();
        cells(table, ++number, report);
        table.closeRow();
    }
    if (count == 0)
        table.textRow("No auto-responses are configured.");
    table.close();
}

void fieldRows(Engine &engine, Cgi &cgi, ui::Table &table, std::span<const Field> fields,
               const Place &place) {
    for (const Field &field : fields)
        table.inputRow(field.label, fieldInput(engine, cgi, field, place), field.help);
}

void hiddenRecord(Engine &engine, Cgi &cgi, ui::Form &form, unsigned record, bool submitted) {
    form.hiddenInput("index", std::to_string(record));
    // A submission that was refused goes on being about what it was opened as.
    form.hiddenInput(opened_field, submitted ? cgi.getVarString(opened_field).raw
                                             : fingerprint(engine.config(), record));
}

void typeMenuRow(Engine &engine, Cgi &cgi, ui::Table &table, const TypeMenu &menu,
                 const Place &place) {
    bool isChosen = false;
    for (const Type *type : menu.types)
        isChosen = isChosen || type->name == menu.chosen;
    const std::string suffix = std::string("_") + menu.menu + "_div";
    table.openRow();
    table.openCell("field-label", 0, "top");
    const std::string script = std::string("checkMenuSelect(this.value, '") + menu.menu + "')";
    for (const Type *type : menu.types)
        cgi << "<label class=\"type-choice\">" +
                   ui::radioInput(menu.name, {{type->name, type->title}}, menu.chosen, script) +
                   "</label>";
    // The script takes the button away.
    cgi << "<div class=\"type-select\">" + ui::getApplyButton("select", "Select") + "</div>";
    table.closeCell();
    table.openCell("field-input");
    cgi << ui::openDiv("none" + suffix, "", !isChosen) << menu.none << ui::closeDiv();
    for (const Type *type : menu.types) {
        cgi << ui::openDiv(type->name + suffix, "", type->name == menu.chosen);
        table.open();
        table.titleRow(type->title);
        fieldRows(engine, cgi, table, type->fields, place);
        table.close();
        cgi << ui::closeDiv();
    }
    table.closeCell();
    table.closeRow();
}

} // namespace zandorin::autoresponse
