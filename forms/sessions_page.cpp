#include "cgi/cgi.h"
#include "cgi/session_activity.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "ui/page.h"
#include "ui/table.h"
#include "util/times.h"

#include <algorithm>
#include <array>

// The table of active web sessions. A session's id unlocks it and is never shown.

namespace zandorin {
namespace {

std::string address(const SessionRecord &session) {
    if (session.sourceIp.empty())
        return "unknown";
    const bool v6 = session.sourceIp.find(':') != std::string::npos;
    const std::string host = v6 ? "[" + session.sourceIp + "]" : session.sourceIp;
    return session.sourcePort.empty() ? host : host + ":" + session.sourcePort;
}

struct Column {
    const char *title;
    std::string (*text)(const SessionRecord &);
};

const std::array columns = {
    Column{"User", [](const SessionRecord &session) { return session.username; }},
    Column{"Address", address},
    Column{"Logged in",
           [](const SessionRecord &session) { return localTime(session.sessionStart); }},
    Column{"Ends", [](const SessionRecord &session) { return localTime(session.expiryTime); }},
    Column{"Extended by use",
           [](const SessionRecord &session) -> std::string {
               return session.autorefresh ? "yes" : "no";
           }},
};

void renderSessions(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    ui::Table table(*cgi);
    table.open();
    table.openRow();
    for (const Column &column : columns)
        table.cell("field-label", column.title);
    table.closeRow();
    const std::string own = engine.session().sessionId();
    const auto activity = SessionActivity::load();
    for (const std::string &id : listSessionIds()) {
        auto session = readSessionRecord(id);
        if (!session || session->authState != Session::state_authenticated)
            continue;
        if (activity)
            session->expiryTime = activity->expiryOf(*session);
        table.openRow();
        for (const Column &column : columns) {
            const bool mark = id == own && &column == &columns.front();
            table.cell("field-input", column.text(*session) + (mark ? " (this session)" : ""));
        }
        table.closeRow();
    }
    table.close();
}

const AutoRegisterFormlet registration("sessions", nullptr, renderSessions);

} // namespace
} // namespace zandorin
