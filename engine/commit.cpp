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
    if (!configManager_.write())
        throw utilities::Exception("Failed to save configuration changes.");
    // The store tells by now where the change went, also when another request has switched the
    // mode.
    request->addMessage(configManager_.getDelayedConfigMode()
                            ? "Changes to configuration queued.To commit these changes, click "
                              "the 'Commit Changes' shortcut"
                            : "Changes to configuration succeeded.");
}

} // namespace zandorin
