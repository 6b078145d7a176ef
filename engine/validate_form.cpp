#include "engine/engine.h"

#include "engine/cgi_submission.h"
#include "engine/formlet.h"
#include "settings/form_check.h"
#include "util/escape.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"

#include <cerrno>
#include <cstring>
#include <string>

namespace zandorin {

namespace {

const char *onOff(bool value) {
    return value ? "on" : "off";
}

/// Tells the page, in debug mode, and the log what was submitted.
void report(Cgi &cgi, bool toPage, const std::string &name, const FormElem &element,
            const std::string &value) {
    const bool masked = element.isSecret(name) && !value.empty();
    const std::string shown = masked ? settings::password_placeholder : value;
    if (toPage)
        cgi << "Form Element: <b>" + encodeSafe(name) + "</b> = '<i>" + encodeSafe(shown) +
                   "</i>' {<b>type</b>:'<i>" + encodeSafe(element.type) +
                   "</i>', <b>autoSave</b> <i>" + onOff(element.autoSave) +
                   "</i>, </i> <b>autoDelete</b> <i>" + onOff(element.autoDelete) + "</i>}";
    logRecord(Priority::debug, "Form Element: %s = '%s' {type:%s, autoSave:%d autoDelete:%d}",
              name.c_str(), shown.c_str(), element.type.c_str(), element.autoSave ? 1 : 0,
              element.autoDelete ? 1 : 0);
}

} // namespace

settings::Fingerprint Engine::openedWith() const {
    constexpr std::size_t longest = std::size_t{32} * 1024;
    settings::Fingerprint fingerprint(session_.sessionId());
    if (cgi_)
        fingerprint.read(cgi_->getVarString(settings::fingerprint_field, longest).raw);
    return fingerprint;
}

bool Engine::lockSettings() {
    constexpr const char *path = "/etc/config/.settings.lock";
    if (settingsLock_)
        return true;
    settingsLock_ = lockFile(appliancePath(path));
    if (settingsLock_ && configManager_.read())
        return true;
    logRecord(Priority::error, "Failed to lock the settings: %s", std::strerror(errno));
    if (Cgi *request = requireCgi())
        request->addError("The settings can not be changed now. Nothing was saved; try again.");
    return false;
}

bool Engine::acceptsValue(const FormElem &element, const std::string &value) {
    Cgi *request = requireCgi();
    settings::Problems problems;
    settings::acceptsType(element, "", value, problems);
    if (request != nullptr)
        for (const settings::Problem &problem : problems.all())
            request->addError(problem.message);
    return request != nullptr && problems.empty();
}

void Engine::validateForm() {
    ZANDORIN_TRACE();
    if (const FormValidator *validator = FormValidatorRegistry::find(formId_))
        (*validator)(*this);
    Cgi *request = requireCgi();
    if (request == nullptr)
        return;
    const CgiSubmission submission(*request);
    const settings::Fingerprint fingerprint = openedWith();
    settings::FormCheck check(configManager_, submission, fingerprint);
    for (const auto &[name, element] : elements_) {
        const std::string value = check.submitted(name, element);
        report(*request, debugMode_, name, element, value);
        check.check(name, element, value);
    }
    for (const settings::Problem &problem : check.problems().all())
        request->addError(problem.message);
    if (!formWasSubmitted()) {
        if (!attempt().empty())
            typedChanges_ = check.changes();
        return;
    }
    for (const auto &effect : effects_)
        if (!request->hasErrors())
            effect();
    if (request->hasErrors())
        return;
    check.save(configManager_);
    for (const auto &effect : derived_)
        effect();
}

} // namespace zandorin
