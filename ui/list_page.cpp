#include "ui/list_page.h"

#include "cgi/cgi.h"
#include "engine/cgi_submission.h"
#include "engine/engine.h"
#include "settings/filled_in.h"
#include "settings/form_check.h"
#include "settings/record_changes.h"
#include "ui/list_request.h"
#include "util/escape.h"
#include "util/log.h"
#include "util/strings.h"

#include <memory>

// What a request changes in a list.

namespace zandorin::ui {

namespace {

using settings::List;
using settings::Part;
using settings::Problems;
using settings::Values;

/// A request's change with what it needs until the form is saved.
struct Work {
    ListRequest request;
    Part part;
    std::string name; ///< that the record is stored with
    ListHooks hooks;
    unsigned position = 0; ///< that it is to get; 0 for where it is
    std::optional<Values> values = std::nullopt;

    const List &list() const { return *part.list; }
    RecordChange change() const {
        return {.list = list(),
                .action = request.action,
                .key = part.place.keys,
                .name = name,
                .values = values ? &*values : nullptr};
    }
};

void sayMissing(Cgi &cgi, const ConfigManager &config, const ListRequest &request) {
    const List &list = *request.list;
    const Meant &meant = request.record;
    const std::string now = identityOf(config, partAt(config, list, list.key, meant.index));
    if (now.empty() || (!meant.opened && !request.submitted))
        cgi.addError("There is no such " + settings::nounOf(list) +
                     "; it may have been deleted meanwhile.");
    else if (*list.name == '\0')
        cgi.addError("The list has changed meanwhile. Nothing was saved.");
    else
        cgi.addError("The list has changed meanwhile: this entry is " + quoted(now) + " now, not " +
                     quoted(meant.opened.value_or("")) + ". Nothing was saved.");
}

/// What the request is about; none, with an error, when that is not there.
std::optional<Part> findPart(Cgi &cgi, const ConfigManager &config, const ListRequest &request) {
    auto record = requestedRecord(config, request);
    if (!record)
        sayMissing(cgi, config, request);
    if (!record || !request.isAboutEntry())
        return record;
    auto entry = requestedEntry(config, request, *record);
    if (request.inner == nullptr)
        logRecord(Priority::error, "Unrecognized prefix: %s", request.word.c_str());
    else if (!entry)
        logRecord(Priority::error, "Modifying %s out of range %d -> %d", request.inner->word,
                  static_cast<int>(request.entry.index),
                  static_cast<int>(listedRecords(config, *request.inner, &*record).size()));
    if (!entry)
        cgi.addError(concat({"There is no such ", request.list->lists.front().word,
                             " any more. Nothing was changed."}));
    return entry;
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

/// Somebody else made the record another variant since the page was opened, which left it alone.
void checkType(Engine &engine, const Work &work, Problems &problems) {
    if (work.list().variants.empty())
        return;
    const settings::Value &type = *work.values->find(work.list().variantKey);
    problems.require(type.text == type.stored ||
                         !engine.openedWith().holds(type.name, type.text, false),
                     type.name, settings::changedMeanwhile(type.field->label));
}

/// The fields of the record's page, or its submission.
void defineFields(Engine &engine, Cgi &cgi, Work &work) {
    const CgiSubmission submission(cgi);
    work.values.emplace(
        work.part.values(engine.config(), work.request.submitted ? &submission : nullptr));
    defineValues(engine, *work.values, work.list().rule);
    if (work.request.isAboutEntry()) {
        const std::string name = work.part.place.names + ".position";
        engine.addElement(name, FormElem("Position", "numeric", false, false));
        work.position = static_cast<unsigned>(std::max(cgi.getVarNumber(name), 0));
    }
}

void checkFields(Engine &engine, Cgi &cgi, const Work &work, Problems &problems) {
    const Values &values = *work.values;
    checkLengths(cgi, values);
    settings::checkVariant(work.part, values, problems);
    checkType(engine, work, problems);
    // Also where the page only shows it.
    const char *key = work.list().name;
    const std::string sent = *key == '\0' || values.find(key) == nullptr
                                 ? ""
                                 : cgi.getVarString(values.place().names + key).raw;
    if (sent != work.name)
        settings::checkName(engine.config(), work.part, sent, problems);
}

/// A copy needs a name of its own.
void copyRecord(ConfigManager &config, const Work &work) {
    const settings::RecordList records = work.part.records();
    const unsigned added = records.copy(config, work.part.number);
    if (added == 0 || work.name.empty())
        return;
    std::string name;
    for (int number = 2; name.empty() || records.find(config, work.list().name, name); ++number)
        name = work.name + "-" + std::to_string(number);
    config.setElement(records.keyOf(added) + work.list().name, name);
}

/// What a menu shows is stored with a variant, also where its user left it alone.
void storeMenus(ConfigManager &config, const Work &work) {
    if (work.list().variants.empty())
        return;
    for (const settings::Value &value : work.values->all())
        if (value.field->input == settings::Input::menu && !value.text.empty() &&
            config.getElement(value.key).empty())
            config.setElement(value.key, value.text);
}

void changeList(ConfigManager &config, const Work &work) {
    const std::string &action = work.request.action;
    const settings::RecordList records = work.part.records();
    const std::string toggle = work.part.place.keys + work.list().toggle;
    const unsigned position =
        records.rankOf(config, work.part.isNew() ? records.next(config) - 1 : work.part.number);
    if (action == "delete") {
        settings::removeRecord(config, work.part);
    } else if (action == "copy") {
        copyRecord(config, work);
    } else if (action == "up" || action == "down") {
        records.move(config, position, action == "up" ? position - 1 : position + 1);
    } else if (work.request.edits() || work.request.toggles()) {
        if (work.request.edits())
            storeMenus(config, work);
        else if (action == "enable")
            config.delElement(toggle);
        else
            config.setElement(toggle, true);
        settings::settleRecord(config, work.part, work.name);
        records.move(config, position, work.position);
    }
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
    const auto run = [&engine, work](ListHooks::Step step) {
        if (step != nullptr)
            step(engine, work->change());
    };
    engine.onAccepted([work, run] { run(work->hooks.apply); });
    engine.onSaved([&engine, work, run] {
        run(work->hooks.store);
        changeList(engine.config(), *work);
    });
    engine.onWritten([&engine, work](bool isWritten) {
        if (isWritten && work->request.action != work->list().command)
            engine.cgi()->addMessage(doneMessage(*work));
        else if (!isWritten && *work->hooks.halfDone != '\0')
            engine.cgi()->addError(work->hooks.halfDone);
    });
}

} // namespace

std::string RecordChange::nameToBe() const {
    const std::string sent = values == nullptr || *list.name == '\0' ? "" : values->text(list.name);
    return sent.empty() ? name : sent;
}

bool isRecordRequest(const Cgi &cgi, const settings::Page &page) {
    return !page.lists.empty() && listRequest(cgi, page).list != nullptr;
}

void defineRecords(Engine &engine, const settings::Page &page, const ListHooks &hooks) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr || !isRecordRequest(*cgi, page))
        return;
    const ListRequest request = listRequest(*cgi, page);
    const List &list = request.inner == nullptr ? *request.list : *request.inner;
    const bool acts = request.submitted || request.isCommand();
    // Nothing is saved on a page with errors, so nothing else may change either.
    if (request.selects ||
        (acts && (cgi->hasErrors() || cgi->hasPageError() || !lockPage(engine, page))))
        return;
    if (request.toggles() && *list.toggle == '\0') {
        cgi->addError(std::string(list.title) + " cannot be enabled or disabled");
        return;
    }
    const bool moves = request.action == "up" || request.action == "down";
    if ((moves && !list.moves) || (request.action == "copy" && !list.copies))
        return;
    const auto part = findPart(*cgi, engine.config(), request);
    if (request.probes) {
        if (part && hooks.probe != nullptr)
            hooks.probe(engine, {.list = list,
                                 .action = request.action,
                                 .key = part->place.keys,
                                 .name = settings::nameOf(engine.config(), *part)});
        return;
    }
    // A record's page is sent by POST: a link with the name of its button saves nothing. A page of
    // many panels has its elements declared when it is sent.
    if (!part ||
        (!acts && (engine.formWasSubmitted() || !request.edits() || isNested(*request.list))))
        return;
    const auto work = std::make_shared<Work>(
        Work{.request = request,
             .part = *part,
             .name = part->isNew() ? "" : settings::nameOf(engine.config(), *part),
             .hooks = hooks});
    Problems problems;
    if (request.edits()) {
        defineFields(engine, *cgi, *work);
        if (!acts)
            return;
        checkFields(engine, *cgi, *work, problems);
    } else if (request.action == "delete" || request.toggles()) {
        settings::checkFixed(engine.config(), *part, request.action + "d", problems);
    }
    for (const settings::Problem &problem : problems.all())
        cgi->addError(problem.message);
    if (hooks.check != nullptr)
        hooks.check(engine, work->change());
    engine.setForceSubmit(true);
    schedule(engine, work);
}

} // namespace zandorin::ui
