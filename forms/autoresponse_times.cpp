#include "forms/autoresponse_settings.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "ui/inputs.h"
#include "ui/table.h"
#include "util/strings.h"

namespace zandorin::autoresponse {

namespace {

constexpr int digits = 2;

struct Day {
    const char *word;
    const char *label;
};
constexpr Day days[] = {
    {"monday", "Monday"},     {"tuesday", "Tuesday"}, {"wednesday", "Wednesday"},
    {"thursday", "Thursday"}, {"friday", "Friday"},   {"saturday", "Saturday"},
    {"sunday", "Sunday"},
};

struct Part {
    const char *word;
    const char *label;
    int most;
};
constexpr Part parts[] = {
    {"from_hour", "from, hour", 23},
    {"from_min", "from, minute", 59},
    {"to_hour", "to, hour", 23},
    {"to_min", "to, minute", 59},
};

std::string keyOf(const Day &day, const Part &part) {
    return std::string("time_") + day.word + "_" + part.word;
}

/// Minutes since midnight, -1 when no hour is given.
std::int64_t minutes(const std::string (&values)[4], std::size_t first) {
    constexpr std::int64_t hour = 60;
    if (values[first].empty())
        return -1;
    return parseWhole(values[first]).value_or(0) * hour + parseWhole(values[first + 1]).value_or(0);
}

bool checkRanges(Cgi &cgi, const Day &day, const std::string (&values)[4]) {
    for (std::size_t i = 0; i < 4; ++i)
        if (!values[i].empty() &&
            parseWhole(values[i]).value_or(parts[i].most + 1) > parts[i].most) {
            cgi.addError(std::string("<i>") + day.label + " " + parts[i].label +
                         "</i> may be at most " + std::to_string(parts[i].most) + ".");
            return false;
        }
    return true;
}

} // namespace

void declareTimes(Engine &engine, const Place &place) {
    for (const Day &day : days)
        for (const Part &part : parts)
            engine.addElement(place.fields + keyOf(day, part),
                              FormElem(std::string(day.label) + " " + part.label, "numeric", false,
                                       false, digits + 1));
}

void checkTimes(Cgi &cgi, const Place &place) {
    for (const Day &day : days) {
        std::string values[4];
        for (std::size_t i = 0; i < 4; ++i)
            values[i] = cgi.getVarString(place.fields + keyOf(day, parts[i]), digits + 1).raw;
        if (!checkRanges(cgi, day, values))
            continue;
        const auto from = minutes(values, 0);
        const auto to = minutes(values, 2);
        const bool strayMinutes =
            (from < 0 && !values[1].empty()) || (to < 0 && !values[3].empty());
        if (strayMinutes || (from < 0) != (to < 0))
            cgi.addError(std::string("<i>") + day.label +
                         "</i> needs the hours from and to, or neither.");
        else if (from >= 0 && to <= from)
            cgi.addError(std::string("<i>") + day.label + "</i> must end after it begins.");
    }
}

void storeTimes(Engine &engine, Cgi &cgi, const Place &place) {
    for (const Day &day : days)
        for (const Part &part : parts) {
            const std::string key = keyOf(day, part);
            const std::string value = cgi.getVarString(place.fields + key, digits + 1).raw;
            if (value.empty())
                engine.config().delElement(place.keys + key);
            else
                engine.config().setElement(place.keys + key, value);
        }
}

void timesRow(Engine &engine, Cgi &cgi, ui::Table &table, const Place &place) {
    std::string html = "<table class=\"times\">";
    for (const Day &day : days) {
        html += std::string("<tr><td>") + day.label + "</td><td>";
        static constexpr const char *between[] = {"", " : ", " to ", " : "};
        for (std::size_t i = 0; i < 4; ++i) {
            const std::string key = keyOf(day, parts[i]);
            html += between[i] + ui::textInput({.name = place.fields + key,
                                                .value = shownText(engine, cgi, key, place, digits),
                                                .maxlength = digits,
                                                .size = digits});
        }
        html += "</td></tr>";
    }
    table.inputRow("Active Times", html + "</table>",
                   "Hour and minute, 0:00 to 23:59. A day left empty is active all day.");
}

} // namespace zandorin::autoresponse
