#include "engine/engine.h"

#include "cgi/cgi.h"
#include "engine/appliance_state.h"
#include "ui/template_functions.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"

#include <new>

#include <sys/stat.h>

namespace zandorin {

Engine::Engine()
    : title_("Zandorin Management Console"), configManager_("/etc/config/config.xml", ".") {
    ZANDORIN_TRACE();
    configManager_.setListener(this);
    cgi_.reset(new (std::nothrow) Cgi);
    if (!cgi_) {
        logRecord(Priority::fatal, "Failed to create CGI object.");
        return;
    }
    loadConfiguration();
    setLogLevel();
    debugMode_ = !configManager_.getElement("config.ui.debug").empty();
    if (const std::string name = ui::getSystemName(*this); !name.empty())
        title_ = name + " - " + title_;

    cgi_->setArgument(this);
    cgi_->addReplaceable("#ui.build.vendor", "Zandorin");
    cgi_->addReplaceable("#ui.build.product", "HX900x");
    cgi_->addReplaceable("#ui.build.year", "2018");
    cgi_->addReplaceable("#ui.pixmaps.path", "/pixmaps");
    favicon_ = "/pixmaps/fav.ico";
    stylesheet_ = "/css/management.css?v=2580759488";

    formId_ = cgi_->getVarString("form").raw;
    formFile_ = formId_;
    if (!formWasSubmitted())
        attempt_ = cgi_->getVarString("try").raw;
    ui::registerTemplateFunctions(*cgi_);
}

Engine::~Engine() = default;

void Engine::loadConfiguration() {
    if (configManager_.isBroken()) {
        cgi_->setPageError("Failed to initialise configuration.");
        logRecord(Priority::fatal, "Failed to initialise configuration.");
    } else if (!configManager_.read()) {
        cgi_->setPageError("Failed to read configuration.");
        logRecord(Priority::fatal, "Failed to read configuration.");
    }
}

void Engine::setLogLevel() {
    if (!configManager_.getElement("config.ui.log.trace").empty()) {
        logRecord(Priority::info, "Enabling CGI trace logging");
        setLogPriority(Priority::trace);
    } else if (!configManager_.getElement("config.ui.log.debug").empty()) {
        logRecord(Priority::info, "Enabling CGI debug logging");
        setLogPriority(Priority::debug);
    }
}

std::string Engine::defaultForm() const {
    const bool configured = isRootPasswordChanged(configManager_) &&
                            isWanConfigured(configManager_) && hasPortSpeeds(configManager_) &&
                            hasUsers(configManager_);
    return configured ? "dashboardsummary" : "index";
}

Cgi *Engine::requireCgi() {
    if (!cgi_)
        logRecord(Priority::fatal, "CGI is not initialized");
    return cgi_.get();
}

void Engine::addElement(const std::string &name, const FormElem &element) {
    if (elements_.emplace(name, element).second)
        return;
    if (Cgi *request = requireCgi())
        request->addError("Element already exists: \"" + name + "\"");
}

bool Engine::formWasSubmitted() const {
    return (cgi_ && !cgi_->getVarString("apply").raw.empty()) || forceSubmit_;
}

bool Engine::isFile(const std::string &path) {
    struct stat status = {};
    return ::stat(appliancePath(path).c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::string Engine::getCurrentUsername() const {
    return session_.username().empty() ? "unknown" : session_.username();
}

const std::string &Engine::versionLine() {
    constexpr std::size_t limit = 65536;
    if (!versionLine_) {
        const std::string text = readFile(appliancePath("/etc/version"), limit).value_or("");
        versionLine_ = text.substr(0, text.find('\n'));
    }
    return *versionLine_;
}

void Engine::configuratorStarted(const std::string &name) {
    logRecord(Priority::debug, "CGI running configurator: %s", name.c_str());
}

void Engine::configuratorEnded(const std::string &name, std::time_t started, std::time_t ended) {
    logRecord(Priority::debug, "CGI ran configurator: %s in %ld seconds", name.c_str(),
              static_cast<long>(ended - started));
}

} // namespace zandorin
