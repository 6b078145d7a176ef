#include "ui/form_values.h"

#include "cgi/cgi.h"
#include "engine/engine.h"

namespace zandorin::ui {

bool showsSubmission(Engine &engine) {
    return engine.cgi() != nullptr && engine.formWasSubmitted() && engine.cgi()->hasErrors();
}

std::string shownValue(Engine &engine, const std::string &name, int maxlength) {
    if (!showsSubmission(engine))
        return engine.config().getElement(name);
    const std::size_t limit = maxlength < 1 ? 256 : static_cast<std::size_t>(maxlength) + 1;
    return engine.cgi()->getVarString(name, limit).raw;
}

bool shownChecked(Engine &engine, const std::string &name) {
    if (showsSubmission(engine))
        return !engine.cgi()->getVarString(name).raw.empty();
    return engine.config().getBoolean(name);
}

} // namespace zandorin::ui
