#include "ui/form_values.h"

#include "cgi/cgi.h"
#include "engine/engine.h"

namespace zandorin::ui {

namespace {

/// Of several forms on one page only one was sent; the inputs of the others keep what is stored.
bool showsSubmitted(Engine &engine, const std::string &name) {
    return showsSubmission(engine) &&
           (engine.elements().contains(name) || engine.cgi()->varStringExists(name));
}

} // namespace

bool showsSubmission(Engine &engine) {
    return engine.cgi() != nullptr && engine.formWasSubmitted() && engine.cgi()->hasErrors();
}

std::string shownValue(Engine &engine, const std::string &name, int maxlength) {
    if (!showsSubmitted(engine, name))
        return engine.config().getElement(name);
    const std::size_t limit = maxlength < 1 ? 256 : static_cast<std::size_t>(maxlength) + 1;
    return engine.cgi()->getVarString(name, limit).raw;
}

bool shownChecked(Engine &engine, const std::string &name) {
    if (showsSubmitted(engine, name))
        return !engine.cgi()->getVarString(name).raw.empty();
    return engine.config().getBoolean(name);
}

} // namespace zandorin::ui
