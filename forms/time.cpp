#include "forms/time.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "framework/formlet.h"
#include "ui/form.h"
#include "ui/form_values.h"
#include "ui/settings_page.h"
#include "ui/table.h"
#include "ui/template_functions.h"

#include <algorithm>
#include <ctime>

// Two forms: the clock, which is set at once, and the settings it is kept by. So neither has to be
// sent with the other.

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

// Rules of the TZ variable (POSIX, Base Definitions 8.3): they need no database of zones.
constexpr ui::Choice zones[] = {
    {"UTC0", "UTC"},
    {"HST10", "UTC-10:00 Honolulu"},
    {"AKST9AKDT,M3.2.0,M11.1.0", "UTC-09:00 Anchorage"},
    {"PST8PDT,M3.2.0,M11.1.0", "UTC-08:00 Los Angeles, Vancouver"},
    {"MST7", "UTC-07:00 Phoenix"},
    {"MST7MDT,M3.2.0,M11.1.0", "UTC-07:00 Denver, Calgary"},
    {"CST6", "UTC-06:00 Mexico City"},
    {"CST6CDT,M3.2.0,M11.1.0", "UTC-06:00 Chicago, Winnipeg"},
    {"EST5", "UTC-05:00 Bogota, Lima, Panama"},
    {"EST5EDT,M3.2.0,M11.1.0", "UTC-05:00 New York, Toronto"},
    {"AST4", "UTC-04:00 San Juan"},
    {"AST4ADT,M3.2.0,M11.1.0", "UTC-04:00 Halifax"},
    {"NST3:30NDT,M3.2.0,M11.1.0", "UTC-03:30 St. John's"},
    {"BRT3", "UTC-03:00 Sao Paulo, Buenos Aires"},
    {"FNT2", "UTC-02:00 Fernando de Noronha"},
    {"CVT1", "UTC-01:00 Cape Verde"},
    {"GMT0", "UTC+00:00 Reykjavik, Accra"},
    {"GMT0BST,M3.5.0/1,M10.5.0", "UTC+00:00 London"},
    {"GMT0IST,M3.5.0/1,M10.5.0", "UTC+00:00 Dublin"},
    {"WET0WEST,M3.5.0/1,M10.5.0", "UTC+00:00 Lisbon"},
    {"WAT-1", "UTC+01:00 Lagos, Algiers"},
    {"CET-1CEST,M3.5.0,M10.5.0/3", "UTC+01:00 Berlin, Paris, Rome, Madrid"},
    {"SAST-2", "UTC+02:00 Johannesburg"},
    {"EET-2EEST,M3.5.0/3,M10.5.0/4", "UTC+02:00 Athens, Helsinki, Kyiv"},
    {"TRT-3", "UTC+03:00 Istanbul, Riyadh, Nairobi"},
    {"MSK-3", "UTC+03:00 Moscow"},
    {"IRST-3:30", "UTC+03:30 Tehran"},
    {"GST-4", "UTC+04:00 Dubai"},
    {"AFT-4:30", "UTC+04:30 Kabul"},
    {"PKT-5", "UTC+05:00 Karachi, Tashkent"},
    {"IST-5:30", "UTC+05:30 Mumbai, Delhi, Colombo"},
    {"NPT-5:45", "UTC+05:45 Kathmandu"},
    {"BDT-6", "UTC+06:00 Dhaka"},
    {"MMT-6:30", "UTC+06:30 Yangon"},
    {"ICT-7", "UTC+07:00 Bangkok, Hanoi, Jakarta"},
    {"CST-8", "UTC+08:00 Beijing, Taipei"},
    {"SGT-8", "UTC+08:00 Singapore, Kuala Lumpur"},
    {"AWST-8", "UTC+08:00 Perth"},
    {"JST-9", "UTC+09:00 Tokyo"},
    {"KST-9", "UTC+09:00 Seoul"},
    {"ACST-9:30", "UTC+09:30 Darwin"},
    {"ACST-9:30ACDT,M10.1.0,M4.1.0/3", "UTC+09:30 Adelaide"},
    {"AEST-10", "UTC+10:00 Brisbane"},
    {"AEST-10AEDT,M10.1.0,M4.1.0/3", "UTC+10:00 Sydney, Melbourne, Hobart"},
    {"NCT-11", "UTC+11:00 Noumea"},
    {"NZST-12NZDT,M9.5.0,M4.1.0/3", "UTC+12:00 Auckland"},
    {"TOT-13", "UTC+13:00 Nuku'alofa"},
};

constexpr ui::Setting zone[] = {
    {.label = "Time Zone",
     .key = zone_key,
     .type = "asciigraphical",
     .input = ui::Input::menu,
     .choices = zones,
     .help = "Summer time is kept where the place keeps it."},
};

constexpr ui::Setting ntp[] = {
    {.label = "Enable NTP",
     .key = "config.ntp.enabled",
     .type = "boolean",
     .input = ui::Input::check,
     .help = "Keep the clock right by time servers of the network."},
    {.label = "NTP Servers",
     .key = "config.ntp.servers",
     .type = "addresslist",
     .help = "Addresses or host names, separated by commas without blanks."},
};

constexpr ui::Section sections[] = {
    {"Time Zone", zone},
    {"Network Time Protocol", ntp},
};

void define(Engine &engine) {
    // Settings that were not sent with the clock are not cleared by it.
    if (isClockSent(engine) && !engine.cgi()->varStringExists(zone_key))
        return;
    ui::defineSettings<sections>(engine);
}

/// The menus of one row show what was refused, otherwise the time it is.
std::string clockMenus(Engine &engine, const std::tm &now, std::span<const ClockField> fields) {
    const bool sent = ui::showsSubmission(engine) && isClockSent(engine);
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

void render(Engine &engine) {
    if (Cgi *cgi = engine.requireCgi())
        renderClock(engine, *cgi);
    ui::renderSettings<sections>(engine);
}

const AutoRegisterFormlet registration("time", define, render);

} // namespace

bool isClockSent(Engine &engine) {
    const auto sent = [&](const ClockField &field) {
        return engine.cgi()->varStringExists(field.name);
    };
    return engine.cgi() != nullptr &&
           (std::any_of(std::begin(date_fields), std::end(date_fields), sent) ||
            std::any_of(std::begin(time_fields), std::end(time_fields), sent));
}

} // namespace zandorin
