#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/port_access.h"
#include "platform/ports/port_log.h"
#include "ui/form.h"
#include "ui/inputs.h"
#include "ui/markup.h"
#include "ui/page.h"
#include "ui/table.h"
#include "util/escape.h"
#include "util/strings.h"

#include <cerrno>
#include <cstring>
#include <limits>

// The logs of the serial ports: what their devices have sent. The newest part of a log is shown
// first; page script goes on with it (rootfs/home/httpd/scripts/portlog.js).

namespace zandorin {
namespace {

constexpr std::size_t page_bytes = std::size_t{32} * 1024;
constexpr std::size_t most_matches = 500;
constexpr std::uint64_t newest = std::numeric_limits<std::uint64_t>::max();

/// What the request asks for.
struct View {
    unsigned port = 0; ///< 0 for none
    std::string find = "";
    bool stamps = false;
    PortLogAge age = PortLogAge::current;
    std::uint64_t until = newest;
    bool clears = false;
};

/// A port that is not there, or not the user's, is none.
View viewOf(Engine &engine, Cgi &cgi) {
    View view;
    const std::string port = cgi.getVarString("port").raw;
    const auto number = parseWhole(port);
    if (number && *number >= 1 && *number <= portCount(engine.config()) &&
        mayUsePort(engine.config(), engine.getCurrentUsername(), static_cast<unsigned>(*number)))
        view.port = static_cast<unsigned>(*number);
    view.find = cgi.getVarString("find").raw;
    view.stamps = cgi.varStringExists("stamps");
    if (cgi.varStringExists("older"))
        view.age = PortLogAge::older;
    if (const auto until = parseWhole(cgi.getVarString("until").raw); until && *until >= 0)
        view.until = static_cast<std::uint64_t>(*until);
    view.clears = view.port != 0 && cgi.getVarString("action").raw == "clear";
    return view;
}

std::string linkTo(const View &view, std::uint64_t until, const char *text) {
    return ui::link("?form=portbuffers&port=" + std::to_string(view.port) +
                        (view.stamps ? "&stamps=on" : "") +
                        (view.age == PortLogAge::older ? "&older=on" : "") +
                        (until == newest ? "" : "&until=" + std::to_string(until)),
                    text);
}

void define(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    const View view = viewOf(engine, *cgi);
    const std::string port = cgi->getVarString("port").raw;
    if (view.port == 0 && !port.empty())
        cgi->addError("No such port: " + encodeSafe(port));
    if (!view.clears || !engine.formWasSubmitted())
        return;
    if (clearPortLog(view.port))
        cgi->addMessage("The log of " + encodeSafe(portLabel(engine.config(), view.port)) +
                        " was cleared.");
    else
        cgi->addError(std::string("The log could not be cleared: ") + std::strerror(errno));
}

std::string sizeText(std::uint64_t bytes) {
    return bytes < 1024 ? std::to_string(bytes) + " bytes" : std::to_string(bytes / 1024) + " KiB";
}

void showPorts(Engine &engine, ui::Table &table) {
    table.open();
    table.titleRow("Port Logs");
    bool any = false;
    for (unsigned port = 1; port <= portCount(engine.config()); ++port) {
        if (!mayUsePort(engine.config(), engine.getCurrentUsername(), port))
            continue;
        any = true;
        const auto log = readLogBefore(portLogPath(port), newest, 0);
        table.inputRow("Port " + std::to_string(port),
                       linkTo({.port = port}, newest, portLabel(engine.config(), port).c_str()),
                       log ? sizeText(log->size) : "Nothing was logged yet.");
    }
    if (!any)
        table.textRow("None: an administrator assigns ports to you or to your groups.");
    table.close();
}

void showQuestion(Engine &engine, Cgi &cgi, const View &view) {
    ui::Form form(cgi, engine.formId());
    form.openForm("post", "clear", "?form=portbuffers");
    ui::Table table(cgi);
    table.open();
    table.titleRow("Clear Log");
    table.textRow("Clear the log of " + portLabel(engine.config(), view.port) +
                  "? What was logged is lost.");
    table.openRow();
    table.openCell("field-input", 99);
    cgi << ui::getApplyButton("apply", "Clear") << " " << linkTo(view, newest, "Keep");
    table.closeCell();
    table.closeRow();
    table.close();
    form.hiddenInput("port", std::to_string(view.port));
    form.hiddenInput("action", "clear");
    form.closeForm();
}

void showTools(Engine &engine, Cgi &cgi, const View &view) {
    ui::Form form(cgi, engine.formId());
    form.openForm("get", "log");
    ui::Table table(cgi);
    table.open();
    table.titleRow(portLabel(engine.config(), view.port));
    table.inputRow("Search", ui::textInput({.name = "find", .value = view.find, .unsafe = true}));
    table.inputRow("Time Stamps", ui::checkInput("stamps", view.stamps));
    table.inputRow("Older File", ui::checkInput("older", view.age == PortLogAge::older));
    table.applyButtonRow("Show");
    table.close();
    form.hiddenInput("port", std::to_string(view.port));
    form.closeForm();
}

/// Log text as markup, each place of the words marked.
std::string marked(std::string_view text, const std::string &words) {
    std::string html;
    for (auto at = findIgnoringCase(text, words); !words.empty() && at != std::string_view::npos;
         at = findIgnoringCase(text, words)) {
        html += escapeUtf8Text(text.substr(0, at)) + "<mark>" +
                escapeUtf8Text(text.substr(at, words.size())) + "</mark>";
        text.remove_prefix(at + words.size());
    }
    return html + escapeUtf8Text(text);
}

void showMatches(Cgi &cgi, const View &view) {
    const auto matches = findInLog(portLogPath(view.port, view.age), view.find, most_matches);
    cgi << "<p>"
        << (matches.empty() ? "Nothing was found."
            : matches.size() < most_matches
                ? std::to_string(matches.size()) + " lines."
                : "The last " + std::to_string(most_matches) + " lines that were found.")
        << "</p><pre class=\"port-log\">";
    for (const LogMatch &match : matches)
        cgi << linkTo(view, match.to + page_bytes / 2, "Show") << " "
            << marked(readableLog(match.line, view.stamps), view.find);
    cgi << "</pre>";
}

void showLog(Cgi &cgi, const View &view) {
    const auto part = readLogBefore(portLogPath(view.port, view.age), view.until, page_bytes);
    if (!part) {
        cgi << "<p>Nothing was logged yet.</p>";
        return;
    }
    const bool isNewest = part->to == part->size;
    std::string links = part->from > 0 ? linkTo(view, part->from, "Earlier") : "";
    if (!isNewest)
        links += " " + linkTo(view, part->to + page_bytes, "Later") + " " +
                 linkTo(view, newest, "Newest");
    if (view.age == PortLogAge::current)
        links +=
            " " + ui::link("?form=portbuffers&port=" + std::to_string(view.port) + "&action=clear",
                           "Clear");
    links += " " + ui::link("?form=portlog&port=" + std::to_string(view.port) +
                                (view.age == PortLogAge::older ? "&older=on" : ""),
                            "Download");
    cgi << "<p class=\"port-log-links\">" << links << "</p><pre class=\"port-log\" tabindex=\"0\"";
    if (isNewest && view.age == PortLogAge::current)
        cgi << ui::attribute("data-port", std::to_string(view.port))
            << ui::attribute("data-to", std::to_string(part->to))
            << (view.stamps ? " data-stamps=\"on\"" : "");
    cgi << ">" << escapeUtf8Text(readableLog(part->text, view.stamps)) << "</pre>"
        << "<script src=\"" << ui::resourcePath("/scripts/portlog.js") << "\"></script>";
}

void render(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    const View view = viewOf(engine, *cgi);
    if (view.port == 0) {
        ui::Table table(*cgi);
        showPorts(engine, table);
    } else if (view.clears && !engine.formWasSubmitted()) {
        showQuestion(engine, *cgi, view);
    } else {
        showTools(engine, *cgi, view);
        if (view.find.empty())
            showLog(*cgi, view);
        else
            showMatches(*cgi, view);
    }
}

const AutoRegisterFormlet registration("portbuffers", define, render);

} // namespace
} // namespace zandorin
