#include "ui/several_page.h"

#include "cgi/cgi.h"
#include "engine/cgi_submission.h"
#include "engine/engine.h"
#include "settings/several.h"
#include "ui/form_values.h"
#include "ui/settings_page.h"
#include "util/escape.h"

namespace zandorin::ui {

namespace {

using settings::Problems;

/// The field of the table's form that names where settings are copied from.
constexpr const char *source_field = "copy";

bool copies(Engine &engine) {
    return engine.cgi()->varStringExists(source_field);
}

Problems copied(Engine &engine, const settings::Page &page, const Chosen &chosen) {
    const settings::Chooser &chooser = page.chooser;
    const std::string source = engine.cgi()->getVarString(source_field).raw;
    const auto named = settings::optionsNamed(chooser.options(engine.config(), ""), source);
    Problems problems;
    if (chosen.isNone() || source.empty())
        problems.add("", "Select what to copy from, and what to copy to.");
    else if (!named || named->size() > 1)
        problems.add("", chooser.unknown + encodeSafe(source));
    else
        for (const std::string &key : chosen.keys()) {
            if (!problems.empty())
                break;
            problems =
                settings::copyPlace(engine.config(), page, chooser.prefix + named->front(), key);
        }
    return problems;
}

} // namespace

bool isAboutSeveral(Engine &engine, const Chosen &chosen) {
    return chosen.isNone() || chosen.isSeveral() || copies(engine);
}

void changeSeveral(Engine &engine, const settings::Page &page, const Chosen &chosen) {
    if (chosen.isNone() && engine.cgi()->varStringExists("edit"))
        engine.cgi()->addError("Select what to edit.");
    if (!engine.formWasSubmitted() || !lockPage(engine, page))
        return;
    Problems problems;
    if (copies(engine))
        problems = copied(engine, page, chosen);
    else if (chosen.isSeveral())
        problems = settings::SharedForm(page, engine.config(), chosen.keys())
                       .change(engine.config(), CgiSubmission(*engine.cgi()), engine.openedWith());
    for (const settings::Problem &problem : problems.all())
        engine.cgi()->addError(problem.message);
    if (!problems.empty())
        engine.config().read(); // drops what was changed before the first problem
}

void showSeveral(Engine &engine, const settings::Page &page, const Chosen &chosen,
                 const Chosen::Cell &cell) {
    if (!chosen.isSeveral() || copies(engine)) {
        chosen.showTable(engine, page.sections, cell);
        return;
    }
    const CgiSubmission submission(*engine.cgi());
    const settings::SharedForm shared(page, engine.config(), chosen.keys());
    const settings::Values values = shared.values(showsSubmission(engine) ? &submission : nullptr);
    settingsForm(engine, engine.formId(), chosen, shared.sections(), values);
}

} // namespace zandorin::ui
