#include "forms/autoresponse.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "platform/libzandorin/serial_ports.h"
#include "settings/devices.h"
#include "settings/records.h"
#include "settings/variants.h"
#include "ui/inputs.h"
#include "ui/settings_page.h"
#include "ui/table.h"
#include "ui/variant_page.h"
#include "util/escape.h"
#include "util/log.h"
#include "util/strings.h"

#include <algorithm>

// What the page has besides its table: the status of the rules, the form of their times, the
// command to the service.

namespace zandorin::autoresponse {
namespace {

using settings::List;
using settings::Values;

std::vector<Report> reportsOf(const ConfigManager &config, const List &rules) {
    return readReports(settings::RecordList(rules.key, rules.word).next(config) - 1);
}

/// Only the checks that watch ports take a list of them; any other has one device, in a menu.
void checkDevices(Cgi &cgi, const settings::Variant &check, const Values &values) {
    if (std::any_of(check.fields.begin(), check.fields.end(), [](const settings::Field &field) {
            return field.input == settings::Input::set;
        }))
        return;
    const std::string device = concat({values.place().names, ".", check.name, ".dev_refs.dev_ref"});
    unsigned devices = 0;
    for (unsigned port = 1; port <= portCount(values.config()); ++port)
        devices += cgi.getVarString(device + std::to_string(port)).raw.empty() ? 0 : 1;
    if (devices > 1)
        cgi.addError(concat({"Check type '", check.name, "' is not for multiple devices"}));
}

/// The service watches the configuration and takes the command out of it.
void cancel(Engine &engine, const std::string &name) {
    engine.config().setElement("config.autoresponse.command", "cancel " + name);
    engine.cgi()->addMessage("The auto-response service is told to cancel '<i>" + encodeSafe(name) +
                             "</i>'.");
}

/// One row for all days, each from and to, hours and minutes.
void timesRow(ui::Table &table, const settings::Section &times, Values values) {
    static constexpr const char *before[] = {"</td><td>", " : ", " to ", " : "};
    values.add(times.fields);
    std::string html = "<table class=\"times\">";
    std::size_t part = 0;
    for (const settings::Value &value : values.all()) {
        const std::string_view label = value.field->label;
        if (part == 0)
            html += concat({"<tr><td>", label.substr(0, label.find(' '))});
        html += before[part] + ui::textInput({.name = value.name,
                                              .value = value.text,
                                              .maxlength = value.field->maxlength,
                                              .size = value.field->maxlength});
        part = (part + 1) % std::size(before);
        html += part == 0 ? "</td></tr>" : "";
    }
    table.inputRow(times.title, html + "</table>",
                   "Hour and minute, 0:00 to 23:59. A day left empty is active all day.");
}

ui::VariantHooks hooksOf(Engine &engine, Cgi &cgi) {
    return {.check = [&cgi](const auto &check,
                            const Values &values) { checkDevices(cgi, check, values); },
            .rows = [](ui::Table &table, const auto &section,
                       const Values &place) { timesRow(table, section, place); },
            .command = "cancel",
            .commandTitle = "Cancel",
            .commandQuestion = "Cancel what '{}' is doing? Actions that wait are not run, and its "
                               "status returns to normal.",
            .carryOut = [&engine](const std::string &name) { cancel(engine, name); }};
}

void renderStatus(Engine &engine, const List &rules) {
    const ConfigManager &config = engine.config();
    const settings::RecordList records(rules.key, rules.word);
    const std::vector<Report> reports = reportsOf(config, rules);
    std::vector<ui::TextRow> rows;
    for (const unsigned number : records.checkedNumbers(config)) {
        const Report &report = reports[number - 1];
        const std::string key = records.keyOf(number);
        rows.push_back(
            {.texts = {ui::recordName(config, rules, number),
                       settings::variantTitle(config, rules, key),
                       report.subject.empty() ? settings::variantSubject(config, rules, key)
                                              : report.subject,
                       report.value, report.user, report.status}});
    }
    ui::textTable(engine, "Auto-Responses",
                  {"Name", "Type", "Checked Device/Property", "Event/Measured Value",
                   "User/Device Name", "Status"},
                  rows, rules.empty);
}

Cgi *requestOf(Engine &engine) {
    if (engine.cgi() == nullptr)
        logRecord(Priority::fatal, "CGI is not initialised");
    return engine.cgi();
}

bool isStatusPage(const Engine &engine) {
    return engine.formArgs() == "status";
}

void define(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = requestOf(engine);
    if (cgi == nullptr || isStatusPage(engine))
        return;
    if (cgi->getRequestMethod() == "POST") {
        if (!engine.lockSettings())
            return;
        settings::moveOutlets(engine.config());
    }
    ui::defineVariantPage(engine, *cgi, hooksOf(engine, *cgi));
}

void render(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = requestOf(engine);
    if (cgi == nullptr)
        return;
    const List &rules = ui::settingsPage(engine)->lists.front();
    if (isStatusPage(engine)) {
        renderStatus(engine, rules);
        return;
    }
    settings::moveOutlets(engine.config());
    ui::VariantHooks hooks = hooksOf(engine, *cgi);
    std::vector<Report> reports;
    hooks.cell = [&](unsigned number) {
        if (reports.empty())
            reports = reportsOf(engine.config(), rules);
        return reports[number - 1].status;
    };
    ui::renderVariantPage(engine, *cgi, hooks);
}

const AutoRegisterFormlet registration("autoresponse", define, render);

} // namespace
} // namespace zandorin::autoresponse
