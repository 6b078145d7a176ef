#include "ui/form_values.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "ui/inputs.h"

namespace zandorin::ui {

namespace {

/// What the form declares for the name, or would without saying more.
FormElem elementOf(Engine &engine, const std::string &name) {
    const auto found = engine.elements().find(name);
    return found == engine.elements().end() ? FormElem() : found->second;
}

/// Of several forms on one page only one was sent; the inputs of the others keep what is stored.
bool showsSubmitted(Engine &engine, const std::string &name) {
    return showsSubmission(engine) &&
           (engine.elements().contains(name) || engine.cgi()->varStringExists(name));
}

} // namespace

bool showsSubmission(Engine &engine) {
    return engine.cgi() != nullptr &&
           (!engine.attempt().empty() || (engine.formWasSubmitted() && engine.cgi()->hasErrors()));
}

std::string storedValue(Engine &engine, const std::string &name) {
    std::string value = engine.config().getElement(name);
    if (!value.empty() && elementOf(engine, name).isSecret(name))
        return password_placeholder;
    return value;
}

std::string shownValue(Engine &engine, const std::string &name, int maxlength) {
    const FormElem element = elementOf(engine, name);
    if (!showsSubmitted(engine, name) || element.isSecret(name))
        return storedValue(engine, name);
    // As much of what was typed as validation reads, unless the input itself takes less.
    const std::size_t limit =
        maxlength < 1 ? element.bufferSize() : static_cast<std::size_t>(maxlength) + 1;
    return engine.cgi()->getVarString(name, limit).raw;
}

bool shownChecked(Engine &engine, const std::string &name) {
    if (showsSubmitted(engine, name))
        return !engine.cgi()->getVarString(name).raw.empty();
    return engine.config().getBoolean(name);
}

} // namespace zandorin::ui
