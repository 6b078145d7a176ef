#include "ui/record_page.h"

#include "cgi/cgi.h"
#include "engine/cgi_submission.h"
#include "engine/engine.h"
#include "settings/filled_in.h"
#include "ui/record_request.h"
#include "ui/settings_page.h"
#include "util/escape.h"

#include <algorithm>
#include <memory>

// What a request changes in a list.

namespace zandorin::ui {

namespace {

using settings::List;
using settings::RecordList;
using settings::Values;

/// A request's change with what it needs until the form is saved.
struct Work {
    RecordRequest request;
    RecordList records;
    unsigned number; ///< of the record in the configuration
    std::string identity;
    std::optional<Values> values = std::nullopt;
    RecordHooks hooks = {};

    const List &list() const { return *request.list; }
    std::string key() const { return records.keyOf(number); }
    bool hasNames() const { return *list().name != '\0'; }
    RecordChange change() const {
        return {.list = list(),
                .action = request.action,
                .key = key(),
                .name = hasNames() ? identity : "",
                .values = values ? &*values : nullptr};
    }
};

void sayMissing(Cgi &cgi, const ConfigManager &config, const RecordRequest &request) {
    const List &list = *request.list;
    const std::string now = identityOf(config, list, request.index);
    if (now.empty() || (!request.opened && !request.submitted))
        cgi.addError(std::string("There is no such ") + list.word +
                     "; it may have been deleted meanwhile.");
    else if (*list.name == '\0')
        cgi.addError("The list has changed meanwhile. Nothing was saved.");
    else
        cgi.addError("The list has changed meanwhile: this entry is " + quoted(now) + " now, not " +
                     quoted(request.opened.value_or("")) + ". Nothing was saved.");
}

/// A text is never cut without a word.
void checkLengths(Cgi &cgi, const Values &values) {
    for (const settings::Value &value : values.all()) {
        const std::size_t buffer = settings::bufferOf(*value.field);
        if (cgi.getVarString(value.name, buffer + 1).raw.size() == buffer)
            cgi.addError(std::string("<i>") + value.field->label + "</i> can not be longer than " +
                         std::to_string(buffer - 1) + " bytes.");
    }
}

/// Also where the page only shows it.
std::string sentName(const Cgi &cgi, const Work &work) {
    return work.values && work.hasNames() && work.values->find(work.list().name) != nullptr
               ? cgi.getVarString(work.values->place().names + work.list().name).raw
               : "";
}

void checkName(Cgi &cgi, const Work &work) {
    const std::string name = sentName(cgi, work);
    if (!name.empty() && name != work.identity &&
        (work.records.find(work.values->config(), work.list().name, name) ||
         (!work.identity.empty() && isFixed(work.list(), name))))
        cgi.addError(std::string("There is a ") + work.list().word + " " + quoted(name) +
                     " already.");
}

/// Some records stay as they are.
void checkFixed(Cgi &cgi, const Work &work) {
    const std::string sent = sentName(cgi, work);
    const bool isRenamed = !sent.empty() && sent != work.identity;
    if (work.request.adds() || !isFixed(work.list(), work.identity) ||
        (work.request.edits() && !isRenamed))
        return;
    const std::string said = settings::filledIn(work.list().refusal, quoted(work.identity));
    cgi.addError(said + " can not be " + (isRenamed ? "rename" : work.request.action) + "d.");
}

/// A copy needs a name of its own.
void copyRecord(ConfigManager &config, const Work &work) {
    const unsigned added = work.records.copy(config, work.number);
    if (added == 0 || !work.hasNames())
        return;
    std::string name;
    for (int number = 2; name.empty() || work.records.find(config, work.list().name, name);
         ++number)
        name = work.identity + "-" + std::to_string(number);
    config.setElement(work.records.keyOf(added) + work.list().name, name);
}

void moveRecord(ConfigManager &config, const Work &work) {
    const unsigned position = work.records.rankOf(config, work.number);
    work.records.move(config, position, work.request.action == "up" ? position - 1 : position + 1);
}

/// Keeps in step where other lists name the record; a new name of "" takes it out.
void renameMentions(ConfigManager &config, const Work &work, const std::string &newName) {
    for (const settings::Mention &mention : work.list().mentions) {
        const RecordList others(mention.key, mention.word);
        for (const unsigned number : others.numbers(config)) {
            const std::string key = others.keyOf(number) + mention.set;
            std::vector<std::string> names = settings::readTextList(config, key, mention.entry);
            const auto found = std::find(names.begin(), names.end(), work.identity);
            if (found == names.end())
                continue;
            if (newName.empty())
                names.erase(found);
            else
                *found = newName;
            settings::writeTextList(config, key, mention.entry, names);
        }
    }
}

void changeList(ConfigManager &config, const Work &work) {
    const std::string &action = work.request.action;
    const std::string toggle = work.key() + work.list().toggle;
    const std::string name = action == "delete" ? "" : work.change().nameToBe();
    if (work.hasNames() && !work.request.adds() && name != work.identity)
        renameMentions(config, work, name);
    if (action == "delete")
        work.records.remove(config, work.number);
    else if (action == "copy")
        copyRecord(config, work);
    else if (action == "enable")
        config.delElement(toggle);
    else if (action == "disable")
        config.setElement(toggle, true);
    else if (work.request.edits())
        work.records.settle(config);
    else
        moveRecord(config, work);
}

std::string doneMessage(const Work &work) {
    const List &list = work.list();
    const std::string name = work.change().nameToBe();
    const std::string who = list.singular + (name.empty() ? "" : " " + quoted(name));
    const std::string &action = work.request.action;
    if (work.request.toggles()) {
        const std::string said =
            *list.toggled == '\0' ? who : settings::filledIn(list.toggled, encodeSafe(name));
        return said + " has been <b>" + action + "d</b>";
    }
    return who + " has been " +
           (action == "delete"     ? "deleted."
            : action == "copy"     ? "copied."
            : work.request.edits() ? "saved."
                                   : "moved.");
}

void schedule(Engine &engine, const std::shared_ptr<const Work> &work) {
    const auto run = [&engine, work](RecordHooks::Step step) {
        if (step != nullptr)
            step(engine, work->change());
    };
    engine.onAccepted([work, run] { run(work->hooks.apply); });
    engine.onSaved([&engine, work, run] {
        run(work->hooks.store);
        changeList(engine.config(), *work);
    });
    engine.onWritten([&engine, work](bool isWritten) {
        if (isWritten)
            engine.cgi()->addMessage(doneMessage(*work));
        else if (*work->hooks.halfDone != '\0')
            engine.cgi()->addError(work->hooks.halfDone);
    });
}

/// The fields of the record's page, or its submission.
void defineFields(Engine &engine, Cgi &cgi, Work &work) {
    const RecordRequest &request = work.request;
    const CgiSubmission submission(cgi);
    work.values.emplace(engine.config(), request.submitted ? &submission : nullptr,
                        placeOf(request, work.number));
    work.values->add(work.list().sections);
    defineValues(engine, *work.values, work.list().rule);
}

} // namespace

std::string quoted(const std::string &text) {
    return "'" + encodeSafe(text) + "'";
}

std::string RecordChange::nameToBe() const {
    const std::string sent = values == nullptr || *list.name == '\0' ? "" : values->text(list.name);
    return sent.empty() ? name : sent;
}

bool isRecordRequest(const Cgi &cgi, const settings::Page &page) {
    if (page.lists.empty())
        return false;
    const RecordRequest request = recordRequest(cgi, page);
    return request.list != nullptr && !request.action.empty();
}

void defineRecords(Engine &engine, const settings::Page &page, const RecordHooks &hooks) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr || !isRecordRequest(*cgi, page))
        return;
    const RecordRequest request = recordRequest(*cgi, page);
    const List &list = *request.list;
    const bool acts = request.submitted || request.isCommand();
    // Nothing is saved on a page with errors, so nothing else may change either.
    if (acts && (cgi->hasErrors() || cgi->hasPageError() || !lockPage(engine, page)))
        return;
    if (request.toggles() && *list.toggle == '\0') {
        cgi->addError(std::string(list.title) + " cannot be enabled or disabled");
        return;
    }
    const bool moves = request.action == "up" || request.action == "down";
    if ((moves && !list.moves) || (request.action == "copy" && !list.copies))
        return;
    const auto number = requestedRecord(engine.config(), request);
    if (!number) {
        sayMissing(*cgi, engine.config(), request);
        return;
    }
    // A record's page is sent by POST: a link with the name of its button saves nothing.
    if (!acts && (engine.formWasSubmitted() || !request.edits()))
        return;
    const auto work = std::make_shared<Work>(
        Work{.request = request,
             .records = RecordList(list.key, list.word),
             .number = *number,
             .identity = request.adds() ? "" : identityOf(engine.config(), list, *number),
             .hooks = hooks});
    if (request.edits()) {
        defineFields(engine, *cgi, *work);
        if (!acts)
            return;
        checkLengths(*cgi, *work->values);
        if (work->hasNames())
            checkName(*cgi, *work);
    }
    checkFixed(*cgi, *work);
    if (hooks.check != nullptr)
        hooks.check(engine, work->change());
    engine.setForceSubmit(true);
    schedule(engine, work);
}

} // namespace zandorin::ui
