#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "platform/libzdsupport/clock.h"
#include "ui/form.h"
#include "ui/form_values.h"
#include "ui/inputs.h"
#include "ui/list_page.h"
#include "ui/settings_page.h"
#include "ui/table.h"
#include "ui/template_functions.h"
#include "util/escape.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/process_pipe.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <ctime>
#include <span>
#include <string>
#include <vector>

#include <unistd.h>

// The clock, in a form of its own beside the settings that it is kept by: neither has to be sent
// with the other.

namespace zandorin {
namespace {

constexpr const char *zone_key = "config.system.timezone";

/// A field of the manual setting with the values that its menu offers.
struct ClockField {
    const char *name;
    int from;
    int to;
    int std::tm::*part;
    int offset; ///< of the value from what std::tm counts
};

constexpr ClockField date_fields[] = {
    {"time.year", 2020, 2050, &std::tm::tm_year, 1900},
    {"time.month", 1, 12, &std::tm::tm_mon, 1},
    {"time.day", 1, 31, &std::tm::tm_mday, 0},
};
constexpr ClockField time_fields[] = {
    {"time.hour", 0, 23, &std::tm::tm_hour, 0},
    {"time.minute", 0, 59, &std::tm::tm_min, 0},
};

struct Limit {
    const char *field;
    int from;
    int to;
    int std::tm::*part;
    int offset;
    const char *message;
};

// In the order of checking.
constexpr Limit limits[] = {
    {"time.hour", 0, 23, &std::tm::tm_hour, 0, "Invalid Hour specified"},
    {"time.minute", 0, 59, &std::tm::tm_min, 0, "Invalid Minute specified"},
    {"time.year", 1977, INT_MAX, &std::tm::tm_year, 1900, "Invalid Year specified"},
    {"time.month", 1, 12, &std::tm::tm_mon, 1, "Invalid Month specified"},
    {"time.day", 1, 31, &std::tm::tm_mday, 0, "Invalid Day specified"},
};

/// Sets the clock at once: it is no value of the configuration.
void setClock(Cgi &cgi, std::tm parts) {
    parts.tm_isdst = -1;
    const std::time_t seconds = std::mktime(&parts);
    std::array<char, 128> record = {};
    std::strftime(record.data(), record.size(), "Manually setting time: %d %b %Y %H:%M:%S", &parts);
    logRecord(Priority::info, "%s", record.data());
    if (const int failure = utilities::setSystemClock(seconds); failure != 0) {
        cgi.addError(std::string("Failed to set system time: ") + std::strerror(failure));
        return;
    }
    if (!utilities::storeHardwareClock())
        logRecord(Priority::error, "Failed to set system clock to UTC\n");
    cgi.addMessage("System time successfully updated.");
}

bool isClockSent(const Cgi &cgi) {
    const auto sent = [&](const ClockField &field) { return cgi.varStringExists(field.name); };
    return std::any_of(std::begin(date_fields), std::end(date_fields), sent) ||
           std::any_of(std::begin(time_fields), std::end(time_fields), sent);
}

/// Checks the submitted time, which is set once the whole form is accepted.
void validateTimeForm(Engine &engine, Cgi &cgi) {
    ZANDORIN_TRACE();
    std::tm parts = {};
    for (const Limit &limit : limits) {
        const int value = cgi.getVarNumber(limit.field);
        if (value < limit.from || value > limit.to) {
            cgi.addError(limit.message);
            return;
        }
        parts.*limit.part = value - limit.offset;
    }
    engine.onAccepted([&cgi, parts] { setClock(cgi, parts); });
}

void define(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    const bool isClock = isClockSent(*cgi);
    if (isClock && !cgi->getVarString("apply").raw.empty())
        validateTimeForm(engine, *cgi);
    // Settings that were not sent with the clock are not cleared by it.
    if (!isClock || cgi->varStringExists(zone_key))
        ui::defineSettings(engine);
}

/// The menus of one row show what was refused, otherwise the time it is.
std::string clockMenus(Engine &engine, const std::tm &now, std::span<const ClockField> fields) {
    const bool sent = ui::showsSubmission(engine) && isClockSent(*engine.cgi());
    std::string html;
    for (const ClockField &field : fields)
        html += ui::menuInputNumRange(field.name, field.from, field.to,
                                      sent ? engine.cgi()->getVarNumber(field.name)
                                           : now.*field.part + field.offset) +
                " ";
    return html;
}

void renderClock(Engine &engine, Cgi &cgi) {
    const std::time_t seconds = std::time(nullptr);
    std::tm now = {};
    ::localtime_r(&seconds, &now);
    ui::Form form(cgi, engine.formId());
    form.openForm("post", "clock");
    ui::Table table(cgi);
    table.open();
    table.titleRow("System Clock");
    table.labelledTextRow("Current Time", ui::getTime(engine));
    table.inputRow("Date", clockMenus(engine, now, date_fields), "Year, month, day.");
    table.inputRow("Time", clockMenus(engine, now, time_fields),
                   "Hour and minute, in the appliance's time zone.");
    table.applyButtonRow("Set Clock");
    table.close();
    form.closeForm();
}

/// What chronyc(1) has in a line of `sources`: its values are separated by commas there.
std::string sourceWords(const std::vector<std::string> &values) {
    constexpr std::size_t state = 1;
    constexpr std::size_t reach = 5; // the last eight answers as bits, in octal
    constexpr std::size_t offset = 7;
    std::string words = values[state] == "*"   ? "the clock follows it"
                        : values[state] == "?" ? "not reached"
                        : values[state] == "+" ? "good"
                                               : "not used";
    words += ", reach " + encodeSafe(values[reach]);
    if (values[state] != "?")
        words += ", offset " + encodeSafe(values[offset]) + " s";
    return words;
}

/// What the time servers say, where the service that asks them runs.
void renderSources(Cgi &cgi) {
    constexpr int patience = 2000; // milliseconds
    const std::string socket = appliancePath(utilities::chrony_socket);
    if (::access(socket.c_str(), F_OK) != 0)
        return;
    ipipestream chronyc("exec chronyc -c -n -h " + shellQuote(socket) + " sources 2>/dev/null",
                        patience);
    ui::Table table(cgi);
    table.open();
    table.titleRow("Time Servers Now");
    for (std::string line; std::getline(chronyc, line);) {
        const auto values = utilities::split(line, ",");
        if (values.size() > 7)
            table.labelledTextRow(encodeSafe(values[2]), sourceWords(values));
    }
    table.close();
}

void render(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr || ui::showRecord(engine, *ui::settingsPage(engine)))
        return;
    renderClock(engine, *cgi);
    renderSources(*cgi);
    ui::renderSettings(engine);
}

const AutoRegisterFormlet registration("time", define, render);

} // namespace
} // namespace zandorin
