#include "forms/autoresponse_pages.h"
#include "forms/autoresponse_records.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "util/log.h"

// Rules that watch the appliance and act on it: their list, the page of one rule, and their status.
// The service that carries them out is another program; docs/autoresponse.md is what the two agree
// on.

namespace zandorin {
namespace {

using namespace autoresponse;

Cgi *requestOf(Engine &engine) {
    if (engine.cgi() == nullptr)
        logRecord(Priority::fatal, "CGI is not initialised");
    return engine.cgi();
}

bool isStatusPage(const Engine &engine) {
    return engine.formArgs() == "status";
}

bool isRecord(const ConfigManager &config, unsigned index) {
    return index >= 1 && index <= countEntries(config, all_records);
}

/// Says so when a link leads to what is not there any more.
void checkLink(Engine &engine, Cgi &cgi, const Command &command) {
    const ConfigManager &config = engine.config();
    const bool needsRecord = !command.list.empty() || command.name == "modify" ||
                             command.name == "delete" || command.name == "cancel" ||
                             (command.name == "edit" && command.index != 0);
    if (!needsRecord)
        return;
    if (!isRecord(config, command.index)) {
        cgi.addError("There is no such auto-response any more.");
        return;
    }
    if (command.list.empty() || command.isNewAction())
        return;
    const std::string list = actionList(recordKey(command.index), command.list);
    if (list.empty())
        cgi.addError(no_such_action);
    else
        checkActionIndex(cgi, command.action, countEntries(config, list));
}

using Page = void (*)(Engine &, Cgi &, const Command &);

Page pageOf(Engine &engine, const Cgi &cgi, const Command &command) {
    const std::string &name = command.name;
    if (name == "apply")
        return command.changes && command.hasIndex ? renderEdit : renderList;
    if (name == "edit" && command.index == 0)
        return renderEdit;
    if (!isRecord(engine.config(), command.index))
        return renderList;
    if (name == "delete" && command.list.empty())
        return command.changes ? renderList : renderDelete;
    if (name == "delete")
        return command.changes || cgi.hasErrors() ? renderEdit : renderDelete;
    if (name == "cancel")
        return command.changes ? renderList : renderCancel;
    return name == "edit" || name == "modify" || !command.list.empty() ? renderEdit : renderList;
}

void define(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = requestOf(engine);
    if (cgi == nullptr || isStatusPage(engine))
        return;
    const Command command = readCommand(*cgi);
    if (!command.changes)
        checkLink(engine, *cgi, command);
    else if (!command.select)
        carryOut(engine, *cgi, command);
}

void render(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = requestOf(engine);
    if (cgi == nullptr)
        return;
    if (isStatusPage(engine)) {
        renderStatus(engine, *cgi);
        return;
    }
    const Command command = readCommand(*cgi);
    pageOf(engine, *cgi, command)(engine, *cgi, command);
}

const AutoRegisterFormlet registration("autoresponse", define, render);

} // namespace
} // namespace zandorin
