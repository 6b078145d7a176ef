#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "forms/users_form.h"
#include "forms/users_pages.h"
#include "util/fd.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"

#include <cerrno>
#include <cstring>
#include <string_view>

// The page of users and groups: from a request to what it does, and to the page that it shows.
//
// The configuration is the master copy; the login accounts follow it. Whatever changes a list
// happens under one lock, on the configuration as it is by then: nobody else renumbers in between.
// First everything is checked, then it is put into the configuration in memory, then the account
// is changed, last the configuration is written. Accounts change at once, even where configuration
// changes are queued: who is disabled or deleted is so now.

namespace zandorin::users {
namespace {

constexpr const char *lock_path = "/etc/config/.users.lock";

bool isToggle(const Task &task) {
    return task.action == "enable" || task.action == "disable";
}

bool namesRecord(const Task &task) {
    return isToggle(task) || task.action == "edit" || task.action == "delete";
}

/// The record that the task is about. None, with an error, when it is not there, or is not any more
/// the one that the page was opened with.
std::optional<Record> taskRecord(Engine &engine, Cgi &cgi, const Task &task) {
    auto record = recordAt(engine.config(), *task.kind, task.index);
    if (!record)
        cgi.addError(std::string("There is no such ") + task.kind->word +
                     "; it may have been deleted meanwhile.");
    else if (task.submitted && record->name != task.opened) {
        cgi.addError("The list has changed meanwhile: this entry is " + quoted(record->name) +
                     " now, not " + quoted(task.opened) + ". Nothing was saved.");
        record.reset();
    }
    return record;
}

/// A record that is not stored yet. A submission's fields bear the number it was opened with.
Record newRecord(Engine &engine, const Task &task) {
    const unsigned index =
        task.submitted && task.index != 0 ? task.index : nextIndex(engine.config(), *task.kind);
    return {.index = index, .key = keyOf(*task.kind, index), .name = ""};
}

void save(Engine &engine, Cgi &cgi, const Task &task, Record record) {
    const RecordForm form(engine, cgi, std::move(record), true);
    if (task.kind == &user_kind)
        saveUser(form);
    else
        saveGroup(form);
}

void act(Engine &engine, Cgi &cgi, const Task &task) {
    if (task.action == "add") {
        save(engine, cgi, task, newRecord(engine, task));
        return;
    }
    if (isToggle(task) && task.kind == &group_kind) {
        cgi.addError("Groups cannot be enabled or disabled");
        return;
    }
    auto record = taskRecord(engine, cgi, task);
    if (!record)
        return;
    if (task.action == "edit")
        save(engine, cgi, task, std::move(*record));
    else if (isToggle(task))
        enableUser(engine, cgi, *record, task.action == "enable");
    else if (task.kind == &user_kind)
        removeUser(engine, cgi, *record);
    else
        removeGroup(engine, cgi, *record);
}

void define(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    const Task task = taskOf(*cgi);
    if (task.kind == nullptr || (task.action != "add" && !namesRecord(task)))
        return;
    if (!task.submitted && !isToggle(task)) {
        if (namesRecord(task))
            taskRecord(engine, *cgi, task);
        return;
    }
    // Nothing is saved on a page with errors, so no account may change either.
    if (cgi->hasErrors() || cgi->hasPageError())
        return;
    const UniqueFd lock = lockFile(appliancePath(lock_path));
    if (!lock || !engine.config().read()) {
        logRecord(Priority::error, "Failed to lock the users: %s", std::strerror(errno));
        cgi->addError("The users can not be changed now. Try again.");
        return;
    }
    act(engine, *cgi, task);
}

/// Shows the page of one record, if that is what comes next.
bool showRecord(Engine &engine, Cgi &cgi, const Task &task) {
    const bool isDone = task.submitted && !cgi.hasErrors() && !cgi.hasPageError();
    if (task.kind == nullptr || isDone || isToggle(task))
        return false;
    std::optional<Record> record;
    if (task.action == "add")
        record = newRecord(engine, task);
    else if (namesRecord(task))
        record = recordAt(engine.config(), *task.kind, task.index);
    if (!record || (task.submitted && record->name != task.opened))
        return false;
    if (task.action == "delete") {
        if (!task.submitted)
            showQuestion(cgi, *task.kind, *record);
        return !task.submitted;
    }
    const RecordForm form(engine, cgi, std::move(*record), task.submitted);
    if (task.kind == &user_kind)
        showUser(form);
    else
        showGroup(form);
    return true;
}

void render(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = engine.requireCgi();
    if (cgi != nullptr && !showRecord(engine, *cgi, taskOf(*cgi)))
        showList(engine, *cgi);
}

const AutoRegisterFormlet registration("users", define, render);

} // namespace
} // namespace zandorin::users
