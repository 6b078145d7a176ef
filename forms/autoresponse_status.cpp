#include "forms/autoresponse_pages.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "forms/autoresponse_records.h"
#include "forms/autoresponse_settings.h"
#include "ui/table.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/split.h"
#include "util/strings.h"

namespace zandorin::autoresponse {

namespace {

constexpr const char *status_path = "/var/run/autoresponse.status";
constexpr std::size_t most_bytes = 65536;

/// The text up to the next tab, which is taken off with it.
std::string nextField(std::string_view &line) {
    const auto end = line.find('\t');
    std::string field(trim(line.substr(0, end)));
    line = end == std::string_view::npos ? "" : line.substr(end + 1);
    return field;
}

/// What the configuration says is watched.
std::string subjectOf(const ConfigManager &config, const std::string &record) {
    const Type *check = findType(checkTypes(), config.getElement(record + ".check_type"));
    if (check == nullptr)
        return "";
    for (const Field &field : check->fields)
        if (std::string_view(field.key) == check->subject)
            return storedWords(config, field, record + ".");
    return "";
}

} // namespace

std::vector<Report> readReports(unsigned count) {
    std::vector<Report> reports(count);
    const std::string text = readFile(appliancePath(status_path), most_bytes).value_or("");
    for (const std::string &whole : utilities::split(text, "\n")) {
        std::string_view line = whole;
        const auto number = parseWhole(nextField(line));
        if (!number || *number < 1 || *number > count)
            continue;
        Report &report = reports[static_cast<std::size_t>(*number - 1)];
        if (std::string status = nextField(line); !status.empty())
            report.status = std::move(status);
        report.subject = nextField(line);
        report.value = nextField(line);
        report.user = nextField(line);
    }
    return reports;
}

void renderStatus(Engine &engine, Cgi &cgi) {
    const ConfigManager &config = engine.config();
    const auto cells = [&](ui::Table &table, unsigned number, const Report &report) {
        for (const std::string &text :
             {recordName(config, number), checkTitle(config, number),
              report.subject.empty() ? subjectOf(config, recordKey(number)) : report.subject,
              report.value, report.user, report.status})
            textCell(table, text);
    };
    recordTable(engine, cgi, "Auto-Responses",
                {"Name", "Type", "Checked Device/Property", "Event/Measured Value",
                 "User/Device Name", "Status"},
                cells);
}

} // namespace zandorin::autoresponse
