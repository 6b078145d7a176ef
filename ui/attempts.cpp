#include "ui/attempts.h"

#include "cgi/cgi.h"
#include "engine/cgi_submission.h"
#include "engine/engine.h"
#include "settings/form_check.h"
#include "settings/values.h"
#include "ui/inputs.h"
#include "ui/page.h"
#include "ui/settings_page.h"
#include "ui/table.h"
#include "util/escape.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/process_pipe.h"
#include "util/strings.h"

#include <algorithm>
#include <iterator>

#include <unistd.h>

namespace zandorin::ui {

namespace {

using settings::Attempt;
using settings::Values;

const Attempt *askedFor(Engine &engine, const settings::Page &page) {
    for (const Attempt &attempt : page.attempts)
        if (engine.attempt() == attempt.button)
            return &attempt;
    return nullptr;
}

/// What the attempt asks for besides.
Values valuesOf(Engine &engine, const Attempt &attempt) {
    const CgiSubmission submission(*engine.cgi());
    Values values(engine.config(), engine.attempt().empty() ? nullptr : &submission);
    values.add(attempt.fields);
    return values;
}

/// With passwords: for the service alone, see `zandorin-services try`.
std::string typedValues(Engine &engine, const Attempt &attempt) {
    std::string text;
    const auto add = [&](const std::string &key, const std::string &value) {
        text.append(key).append(1, '\0').append(value).append(1, '\0');
    };
    for (const auto &[key, value] : engine.typedChanges())
        add(key, value);
    const Values values = valuesOf(engine, attempt);
    for (const settings::Value &value : values.all())
        add(value.key, value.text);
    return text;
}

} // namespace

bool defineAttempt(Engine &engine, const settings::Page &page) {
    const Attempt *attempt = askedFor(engine, page);
    if (attempt == nullptr)
        return false;
    const Values values = valuesOf(engine, *attempt);
    for (const settings::Value &value : values.all())
        engine.addElement(value.name, settings::elementOf(value, value.field->label, false));
    return true;
}

void showAttempt(Engine &engine, const settings::Page &page) {
    constexpr mode_t own = 0600;
    constexpr int patience = 15000; // milliseconds
    const Attempt *attempt = askedFor(engine, page);
    if (attempt == nullptr || engine.cgi()->hasErrors())
        return;
    const std::string path =
        appliancePath("/var/run/.try-" + std::to_string(static_cast<long long>(::getpid())));
    if (!replaceFile(path, typedValues(engine, *attempt), own, Durable::no)) {
        *engine.cgi() << getError("Nothing was tried: there is no room for what was typed in.");
        return;
    }
    ipipestream service("exec " + shellQuote(appliancePath("/bin/zandorin-services")) + " try " +
                            attempt->service + " " + attempt->name + " " + shellQuote(path),
                        patience);
    const std::string words(std::istreambuf_iterator<char>(service), {});
    const bool isGood = service.success();
    ::unlink(path.c_str());
    std::string shown = "<b>" + encodeSafe(attempt->title) + ":</b> " +
                        encodeSafe(words.empty() ? "There was no answer in time." : words);
    const auto isSecret = [&](const auto &change) {
        const auto found = engine.elements().find(change.first);
        return found != engine.elements().end() && found->second.isSecret(change.first);
    };
    // No page shows one.
    if (std::any_of(engine.typedChanges().begin(), engine.typedChanges().end(), isSecret))
        shown += " Type the password again to save it.";
    *engine.cgi() << (isGood ? getInfo(shown) : getError(shown));
}

void attemptRows(Engine &engine, Table &table, std::span<const Attempt> attempts) {
    for (const Attempt &attempt : attempts) {
        const Values values = valuesOf(engine, attempt);
        table.titleRow(attempt.title);
        for (const settings::Value &value : values.all())
            valueRow(engine, table, value);
        table.inputRow("", getApplyButton("try", attempt.button),
                       "With the values above as they are typed in; nothing is saved.");
    }
}

} // namespace zandorin::ui
