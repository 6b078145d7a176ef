#include "engine/page_requests.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/foreign_request.h"
#include "platform/libzandorin/configurator_status.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/libzdsupport/pidfile.h"
#include "platform/ports/port_access.h"
#include "platform/ports/port_log.h"
#include "platform/ports/terminal_ticket.h"
#include "settings/form_check.h"
#include "settings/parts.h"
#include "settings/registry.h"
#include "settings/rules.h"
#include "util/environment.h"
#include "util/escape.h"
#include "util/files.h"
#include "util/json.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <ctime>

namespace zandorin {

namespace {

std::string uptimeSeconds() {
    const std::string text = readFile(appliancePath("/proc/uptime"), 256).value_or("");
    const auto seconds = parseWhole(std::string_view(text).substr(0, text.find('.')));
    return std::to_string(seconds.value_or(-1));
}

std::string describe(const ConfiguratorState &entry, bool running, std::time_t now) {
    const bool active = entry.state == "running" || entry.state == "waiting";
    // Whoever ran them has gone: what it had not finished never will be.
    const std::string state = active && !running ? "failed" : entry.state;
    const std::time_t end = entry.ended == 0 ? now : entry.ended;
    return "{\"name\":" + jsonString(entry.name) + ",\"state\":" + jsonString(state) +
           ",\"seconds\":" + std::to_string(entry.started == 0 ? 0 : end - entry.started) +
           ",\"age\":" + std::to_string(now - end) + "}";
}

std::string configurators(Engine & /*engine*/, Cgi & /*cgi*/) {
    const bool running = pidfile_valid("configurators") == 0;
    const std::time_t now = std::time(nullptr);
    std::string json = std::string("{\"running\":") + (running ? "true" : "false") +
                       ",\"uptime\":" + uptimeSeconds() + ",\"run\":[";
    for (const ConfiguratorState &entry : readConfiguratorStatus()) {
        if (json.back() != '[')
            json += ',';
        json += describe(entry, running, now);
    }
    return json + "]}";
}

/// Nobody's password, and no looking around in the appliance's files.
bool isAskable(std::string_view type) {
    return type != "password" && type != "unixfile";
}

/// What the table of a page says of a value that is being typed into one of its fields.
void checkByTable(Engine &engine, const std::string &page, const std::string &name,
                  const std::string &value, settings::Problems &problems) {
    const settings::PackedPage *packed = settings::PageRegistry::find(page);
    if (packed == nullptr)
        return;
    const settings::LoadedPage loaded = settings::load(*packed);
    const auto part = settings::partOf(loaded.page, engine.config(), name);
    if (!part)
        return;
    const settings::Values values = part->values(engine.config());
    const settings::Value *found = settings::findValue(values, name);
    if (found != nullptr && isAskable(found->field->type.name()))
        settings::checkLimits(*found->field, name, value, problems);
}

std::string check(Engine &engine, Cgi &cgi) {
    const FormElem element(encodeSafe(cgi.getVarString("label").raw), cgi.getVarString("type").raw,
                           false, false);
    const std::string value = cgi.getVarString("value", element.bufferSize()).raw;
    settings::Problems problems;
    if (!value.empty() && isAskable(element.type) &&
        settings::acceptsType(element, "", value, problems))
        checkByTable(engine, cgi.getVarString("page").raw, cgi.getVarString("name").raw, value,
                     problems);
    return "{\"message\":" + jsonString(problems.empty() ? "" : problems.all().front().message) +
           "}";
}

/// The log of a port as a file, or from the byte "from" on what came since, below a line with the
/// byte that comes next. Nothing of a port that is not the user's.
std::string portLog(Engine &engine, Cgi &cgi) {
    const auto port = parseWhole(cgi.getVarString("port").raw).value_or(0);
    if (port < 1 || port > portCount(engine.config()) ||
        !mayUsePort(engine.config(), engine.getCurrentUsername(), static_cast<unsigned>(port)))
        return "";
    const std::string path =
        portLogPath(static_cast<unsigned>(port),
                    cgi.varStringExists("older") ? PortLogAge::older : PortLogAge::current);
    const auto from = parseWhole(cgi.getVarString("from").raw);
    if (!from) {
        cgi.setExtraHeader("Content-Disposition: attachment; filename=\"port" +
                           std::to_string(port) + ".log\"");
        return readFile(path).value_or("");
    }
    constexpr std::size_t most = std::size_t{64} * 1024;
    const auto part =
        readLogAfter(path, static_cast<std::uint64_t>(std::max<std::int64_t>(*from, 0)), most);
    if (!part)
        return "0\n";
    return std::to_string(part->to) + "\n" + readableLog(part->text, cgi.varStringExists("stamps"));
}

/// No other site gets one: a browser says of its requests where they come from, and lets nobody
/// else read the answer.
std::string terminal(Engine &engine, Cgi &cgi) {
    if (isForeignRequest())
        return "{}";
    const std::string id = issueTicket({.session = engine.session().sessionId(),
                                        .user = engine.getCurrentUsername(),
                                        .address = std::string(environmentVariable("REMOTE_ADDR")),
                                        .target = cgi.getVarString("target").raw,
                                        .watches = cgi.varStringExists("watch")});
    return id.empty() ? "{}" : "{\"ticket\":" + jsonString(id) + "}";
}

struct PageRequest {
    std::string_view id;
    std::string (*answer)(Engine &, Cgi &);
    const char *type = "application/json";
};
constexpr PageRequest page_requests[] = {
    {"check", check},
    {"configurators", configurators},
    {"terminal", terminal},
    {"portlog", portLog, "text/plain; charset=utf-8"},
};

} // namespace

bool answerPageRequest(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    const auto *request =
        std::find_if(std::begin(page_requests), std::end(page_requests),
                     [&](const PageRequest &candidate) { return candidate.id == engine.formId(); });
    if (cgi == nullptr || request == std::end(page_requests))
        return false;
    ZANDORIN_TRACE();
    engine.setSession(Session(Session::Helper::lookedFor));
    const std::string answer =
        engine.mayUsePages() ? request->answer(engine, *cgi) : "{\"login\":true}";
    cgi->sendHttpHeader(200, request->type);
    *cgi << answer << "\n" << std::flush;
    return true;
}

} // namespace zandorin
