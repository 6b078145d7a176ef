#include "forms/autoresponse.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "platform/libzandorin/serial_ports.h"
#include "settings/devices.h"
#include "settings/records.h"
#include "settings/variants.h"
#include "ui/inputs.h"
#include "ui/list_page.h"
#include "ui/settings_page.h"
#include "ui/table.h"
#include "util/escape.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/process_pipe.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>
#include <istream>
#include <iterator>

// What the page has besides its table: the status of the rules, the form of their times, the
// command to the service.

namespace zandorin::autoresponse {
namespace {

using settings::List;

std::vector<Report> reportsOf(const ConfigManager &config, const List &rules) {
    return readReports(settings::RecordList(rules.key, rules.word).next(config) - 1);
}

/// Only the checks that watch ports take a list of them; any other has one device, in a menu.
void checkDevices(Engine &engine, const ui::RecordChange &change) {
    const settings::Variant *check =
        change.values == nullptr
            ? nullptr
            : settings::findVariant(change.list.variants,
                                    change.values->text(change.list.variantKey));
    if (check == nullptr ||
        std::any_of(check->fields.begin(), check->fields.end(), [](const settings::Field &field) {
            return field.input == settings::Input::set;
        }))
        return;
    const std::string device =
        concat({change.values->place().names, ".", check->name, ".dev_refs.dev_ref"});
    unsigned devices = 0;
    for (unsigned port = 1; port <= portCount(engine.config()); ++port)
        devices += engine.cgi()->getVarString(device + std::to_string(port)).raw.empty() ? 0 : 1;
    if (devices > 1)
        engine.cgi()->addError(
            concat({"Check type '", check->name, "' is not for multiple devices"}));
}

/// The service watches the configuration and takes the command out of it.
void cancel(Engine &engine, const ui::RecordChange &change) {
    if (change.action != change.list.command)
        return;
    engine.config().setElement("config.autoresponse.command", "cancel " + change.name);
    engine.cgi()->addMessage("The auto-response service is told to cancel '<i>" +
                             encodeSafe(change.name) + "</i>'.");
}

/// What the check reads now, or how the action went, in the words of the service's program. It
/// works from what was committed last.
void probe(Engine &engine, const ui::RecordChange &change) {
    if (!engine.config().getConfigurators().empty()) {
        engine.cgi()->addError("The service does not know the queued changes yet. Commit them "
                               "first.");
        return;
    }
    // An action's is config.autoresponse.autoresponse<N>.trigger_actions.action<M>.
    const auto words = utilities::split(change.key, ".");
    std::string command = "exec " + shellQuote(appliancePath("/bin/auto-response"));
    if (words.size() == 5)
        append(command, {" try ", trailingDigits(words[2]), " ",
                         words[3].substr(0, words[3].find('_')), " ", trailingDigits(words[4])});
    else
        append(command, {" read ", trailingDigits(change.key)});
    constexpr int patience = 30000; // milliseconds; the program has less
    ipipestream program(command, patience);
    const std::string answer(std::istreambuf_iterator<char>(program), {});
    if (trim(answer).empty())
        engine.cgi()->addError("The service of auto-responses did not answer.");
    else
        engine.cgi()->addMessage(encodeSafe(std::string(trim(answer))));
}

/// One row for all days, each from and to, hours and minutes.
bool timesRow(ui::Table &table, const settings::Section &section,
              std::span<const settings::Value> values) {
    static constexpr const char *before[] = {"</td><td>", " : ", " to ", " : "};
    if (*section.title == '\0')
        return false;
    std::string html = "<table class=\"times\">";
    std::size_t part = 0;
    for (const settings::Value &value : values) {
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
    table.inputRow(section.title, html + "</table>",
                   "Hour and minute, 0:00 to 23:59. A day left empty is active all day.");
    return true;
}

void renderStatus(Engine &engine, const List &rules) {
    const ConfigManager &config = engine.config();
    const std::vector<Report> reports = reportsOf(config, rules);
    std::vector<std::vector<std::string>> rows;
    for (const settings::Part &rule : ui::listedRecords(config, rules)) {
        const Report &report = reports[rule.number - 1];
        const std::string &key = rule.place.keys;
        std::vector<std::string> &cells = rows.emplace_back();
        for (const std::string &text :
             {ui::recordName(config, rule), settings::variantTitle(config, rules, key),
              report.subject.empty() ? settings::variantSubject(config, rules, key)
                                     : report.subject,
              report.value, report.user, report.status})
            cells.push_back(escapeXmlText(text));
    }
    ui::cellTable(engine, "Auto-Responses",
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
    const settings::Page &page = *ui::settingsPage(engine);
    const bool isApplied =
        cgi->getRequestMethod() == "POST" &&
        (engine.formWasSubmitted() || cgi->getVarString("action").raw == "apply");
    if (ui::isRecordRequest(*cgi, page)) {
        ui::defineRecords(engine, page, {.check = checkDevices, .store = cancel, .probe = probe});
    } else if (isApplied) {
        engine.setForceSubmit(true);
        ui::defineSettings(engine);
    }
}

void render(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = requestOf(engine);
    if (cgi == nullptr)
        return;
    const settings::Page &page = *ui::settingsPage(engine);
    const List &rules = page.lists.front();
    if (isStatusPage(engine)) {
        renderStatus(engine, rules);
        return;
    }
    settings::moveOutlets(engine.config());
    if (ui::showRecord(engine, page, {.rows = timesRow}))
        return;
    const std::vector<Report> reports = reportsOf(engine.config(), rules);
    ui::showLists(engine, page,
                  {.note = [&](const settings::Column &column, const settings::Part &rule) {
                      const bool isStatus = *column.key == '\0' && column.status == nullptr;
                      return isStatus ? escapeXmlText(reports[rule.number - 1].status) : "";
                  }});
    ui::settingsForm(engine, "settings", ui::Chosen(engine, page.chooser), page.sections,
                     ui::shownValues(engine, page.sections, {}), "Save Settings");
}

const AutoRegisterFormlet registration("autoresponse", define, render);

} // namespace
} // namespace zandorin::autoresponse
