#include "forms/autoresponse.h"

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

} // namespace

std::vector<Report> readReports(unsigned last) {
    std::vector<Report> reports(last);
    const std::string text = readFile(appliancePath(status_path), most_bytes).value_or("");
    for (const std::string &whole : utilities::split(text, "\n")) {
        std::string_view line = whole;
        const auto number = parseWhole(nextField(line));
        if (!number || *number < 1 || *number > last)
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

} // namespace zandorin::autoresponse
