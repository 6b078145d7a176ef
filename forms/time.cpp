#include "settings/fields.h"
#include "settings/registry.h"

// What the clock is kept by. It is set by hand in time_page.cpp.

namespace zandorin::settings {
namespace {

// Rules of the TZ variable (POSIX, Base Definitions 8.3): they need no database of zones.
constexpr Choice zones[] = {
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

constexpr Field zone[] = {
    {.label = "Time Zone",
     .key = "config.system.timezone",
     .type = "asciigraphical",
     .input = Input::menu,
     .choices = zones,
     .help = "Summer time is kept where the place keeps it.",
     .note = "Time zone as a rule of the environment variable TZ (POSIX), such as "
             "`CET-1CEST,M3.5.0,M10.5.0/3`."},
};

constexpr Field ntp[] = {
    boxField("Enable NTP", "config.ntp.enabled",
             "Keep the clock right by time servers of the network."),
};

constexpr Choice kinds[] = {{"server", "one server"}, {"pool", "pool of servers"}};
constexpr Field server[] = {
    {.label = "Address",
     .key = ".address",
     .type = "address",
     .help = "Address or host name of a time server.",
     .missing = "<i>Address</i> can not be empty."},
    {.label = "Kind",
     .key = ".kind",
     .input = Input::menu,
     .choices = kinds,
     .help = "Behind the name of a pool there are several servers; some of them are used."},
    {.label = "Preferred",
     .key = ".preferred",
     .type = "boolean",
     .input = Input::check,
     .help = "Its time counts as long as it can be trusted."},
};
constexpr Section server_sections[] = {{.title = "", .fields = server}};
constexpr Column server_columns[] = {
    {.title = "Address", .key = ".address"},
    {.title = "Kind", .key = ".kind"},
    {.title = "Preferred", .key = ".preferred"},
};
constexpr List lists[] = {
    {.key = "config.ntp.servers",
     .word = "server",
     .title = "NTP Servers",
     .singular = "Server",
     .empty = "No time servers yet.",
     .name = ".address",
     .columns = server_columns,
     .sections = server_sections,
     .question = "Delete the time server '{}'?",
     .moves = true,
     .text = ".address"},
};

constexpr Section sections[] = {
    {"Time Zone", zone},
    {"Network Time Protocol", ntp},
};

constexpr Page page = {.sections = sections, .lists = lists, .services = "chrony timezone"};

const AutoRegisterPage registration("time", packed<page>());

} // namespace
} // namespace zandorin::settings
