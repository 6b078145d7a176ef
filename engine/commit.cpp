#include "engine/engine.h"

#include "cgi/cgi.h"
#include "cgi/session_file.h"
#include "util/exception.h"
#include "util/log.h"

#include <algorithm>

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
    if (!configManager_.getDelayedConfigMode())
        endSessionsAfter(configManager_.getChanges());
    // The store tells by now where the change went, also when another request has switched the
    // mode.
    request->addMessage(configManager_.getDelayedConfigMode()
                            ? "Changes to configuration queued.To commit these changes, click "
                              "the 'Commit Changes' shortcut"
                            : "Changes to configuration succeeded.");
}

void Engine::endSessionsAfter(const std::vector<ConfigChange> &changes) const {
    if (std::any_of(changes.begin(), changes.end(),
                    [](const ConfigChange &change) { return change.key == system_password; }))
        removeSessionsOf("root", session_.sessionId());
}

} // namespace zandorin
