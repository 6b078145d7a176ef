#include "engine/engine.h"

#include "cgi/cgi.h"
#include "util/exception.h"
#include "util/log.h"

namespace zandorin {

void Engine::configure() {
    ZANDORIN_TRACE();
    Cgi *request = requireCgi();
    if (request == nullptr || !formWasSubmitted() || request->hasErrors() ||
        !configManager_.isDirty())
        return;
    if (configManager_.hasConfigurator(formId_))
        configManager_.schedule(formId_);
    for (const std::string &name : extraConfigurators_)
        configManager_.schedule(name);
    // Asked before the change is written: this very change may switch the mode on.
    const bool queued = configManager_.getDelayedConfigMode();
    if (!configManager_.write())
        throw utilities::Exception("Failed to save configuration changes.");
    request->addMessage(queued ? "Changes to configuration queued.To commit these changes, click "
                                 "the 'Commit Changes' shortcut"
                               : "Changes to configuration succeeded.");
}

} // namespace zandorin
