#include "engine/engine.h"

#include "cgi/cgi.h"
#include "engine/foreign_request.h"
#include "engine/formlet.h"
#include "engine/login.h"
#include "engine/page_requests.h"
#include "platform/libzdsupport/pidfile.h"
#include "settings/registry.h"
#include "ui/page.h"
#include "ui/settings_page.h"
#include "util/escape.h"
#include "util/exception.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <unistd.h>

namespace zandorin {

namespace {

constexpr const char *nav_tree_path = "/home/httpd/nav.xml";
constexpr const char *forms_folder = "/home/httpd/forms/";

/// Once a change is about to be saved, a client that hangs up or a web server that ends must not
/// stop what follows from it half-way.
void ignoreHangUps() {
    for (const int signal : {SIGHUP, SIGINT, SIGTERM})
        std::signal(signal, SIG_IGN);
}

/// Names no file outside of the forms folder, nor a hidden one in it.
bool isFormFileName(const std::string &name) {
    return !name.empty() && name.front() != '.' && name.find('/') == std::string::npos;
}

/// The callbacks of a page: its own, or those of every page that is a table.
const Formlet *findFormlet(const std::string &name) {
    static constexpr Formlet table = {.define = ui::defineSettings, .render = ui::renderSettings};
    const Formlet *own = FormletRegistry::find(name);
    if (own != nullptr)
        return own;
    return settings::PageRegistry::find(name) == nullptr ? nullptr : &table;
}

/// Runs a piece of the page; answers what went wrong as text for the page, "" when nothing did.
template <typename Work> std::string faultOf(Work work) {
    try {
        work();
        return "";
    } catch (const utilities::Exception &fault) {
        logRecord(Priority::fatal, "%s", fault.toString().c_str());
        return fault.toString();
    } catch (...) {
        constexpr const char *unexpected = "An unexpected error occured";
        logRecord(Priority::fatal, "%s", unexpected);
        return unexpected;
    }
}

} // namespace

void Engine::displayPage() {
    ZANDORIN_TRACE();
    if (!cgi_ || answerPageRequest(*this))
        return;
    // Whoever was logged in, or allowed something, before the wait may not be after it.
    if (waitForConfigurators())
        loadConfiguration();
    session_ = Session(Session::Helper::asked);
    if (navTree_.load(nav_tree_path) != 0)
        cgi_->addError(std::string("Invalid navigation tree config: ") + nav_tree_path);
    if (isCrossSiteForgery()) {
        refuseCrossSiteForgery();
        return;
    }
    establishUser();
    logRecord(Priority::trace, "%s:%d using form: %s file: %s", __func__, __LINE__, formId_.c_str(),
              formFile_.c_str());
    labelPage();
    cgi_->sendHttpHeader(cgi_->status(), "text/html");

    if (formId_ != "login") {
        authorized_ = isAuthorized("");
        if (!authorized_) {
            refuse();
            return;
        }
    }

    openPage();
    const Formlet *formlet = findFormlet(formFile_);
    defineForm(formlet);
    writeMessages();
    const std::size_t shown = cgi_->getErrors().size();
    renderBody(formlet);
    writeErrors(shown);
    closePage();
    runConfigurators();
}

void Engine::openPage() {
    *cgi_ << ui::openPage(title_, "text/html", stylesheet_, favicon_);
    writeFrame("head.html");
}

void Engine::closePage() {
    writeFrame("tail.html");
    *cgi_ << ui::closePage() << std::flush;
}

bool Engine::acts() const {
    const NavLeaf *leaf = nullptr;
    navTree_.getNavLeaf(formId_, leaf);
    return isCommand(*cgi_, leaf);
}

bool Engine::isCrossSiteForgery() const {
    return isForeignRequest() && acts();
}

void Engine::refuseCrossSiteForgery() {
    logRecord(Priority::info, "Refused a request from another site to form '%s', sent by %s",
              formId_.c_str(), cgi_->getRemoteAddress().c_str());
    cgi_->addReplaceable("#ui.tree.branch.label", "Error");
    cgi_->addReplaceable("#ui.tree.branch.leaf.label", "Request Refused");
    cgi_->setPageError("Another web site sent this request in your name. It was refused, and "
                       "nothing has been changed. To do what it asked for, go to the " +
                       ui::link("?form=index", "first page") + " and do it there.");
    cgi_->sendHttpHeader(403, "text/html");
    openPage();
    writeMessages();
    closePage();
}

bool Engine::waitForConfigurators() {
    constexpr useconds_t step_us = 100000;
    bool waited = false;
    for (; pidfile_valid("configurators") == 0; waited = true)
        ::usleep(step_us);
    return waited;
}

void Engine::establishUser() {
    if (session_.isValid())
        session_.setSessionCookie(*cgi_);
    else
        loginHandlePost(*this);
    if (!session_.authSuccess()) {
        formId_ = formFile_ = "login";
        return;
    }
    // Only for a user who asked for no form: the default form costs a password hash.
    if (formId_.empty())
        formId_ = formFile_ = defaultForm();
    if (formId_ == "index" && session_.username() != "root")
        formId_ = "dashboardsummary";
    authorized_ = isAuthorized("");
    if (!authorized_ && formId_ == "dashboardsummary")
        formId_ = "manage";
}

void Engine::labelPage() {
    std::string branch;
    std::string label;
    const NavLeaf *leaf = nullptr;
    if (formId_ == "index") {
        branch = title_;
        label = "Welcome";
    } else if (formId_ == "reboot") {
        branch = "Administration";
        label = "Rebooting the System";
    } else if (navTree_.getNavLeaf(formId_, leaf)) {
        branch = encodeSafe(leaf->branchLabel);
        label = encodeSafe(leaf->label);
        formFile_ = leaf->file;
        formArgs_ = leaf->args;
    } else {
        branch = "Error";
        label = "Page Not Found";
        cgi_->setPageError("No such form ID: " + encodeSafe(formId_));
    }
    cgi_->addReplaceable("#ui.tree.branch.label", branch);
    cgi_->addReplaceable("#ui.tree.branch.leaf.label", label);
}

void Engine::refuse() {
    const std::string user = getCurrentUsername();
    logRecord(Priority::info, "Unauthorized access by '%s' to form '%s'", user.c_str(),
              formId_.c_str());
    // Another site may ask for any page, and must not log its visitors out by that.
    if (!isForeignRequest())
        session_.deleteSession();
    roles_ = utilities::Roles();
    rolesUser_.clear();
    *cgi_ << ui::getFatal("User '" + encodeSafe(user) + "' is not authorized to access this area.")
          << std::flush;
}

void Engine::defineForm(const Formlet *formlet) {
    if (acts())
        ignoreHangUps();
    const std::string fault = faultOf([&] {
        if (formlet != nullptr && formlet->define != nullptr) {
            formlet->define(*this);
        } else {
            const std::string path = forms_folder + formFile_ + ".def";
            if (!isFormFileName(formFile_) || !isFile(path))
                return;
            if (!writeTemplate(path))
                logRecord(Priority::fatal, "Failed opening: %s", path.c_str());
        }
        validateForm();
        saveForm();
    });
    settingsLock_.reset();
    if (!fault.empty())
        cgi_->setPageError(fault);
}

void Engine::saveForm() {
    const auto tell = [this](bool isWritten) {
        if (formWasSubmitted() && !cgi_->hasErrors())
            for (const auto &effect : written_)
                effect(isWritten);
    };
    try {
        configure();
    } catch (const utilities::Exception &) {
        tell(false);
        throw;
    }
    tell(true);
}

void Engine::writeMessages() {
    if (cgi_->hasPageError())
        *cgi_ << ui::getFatal(cgi_->getPageError());
    if (debugMode_)
        for (const std::string &message : cgi_->getDebugMessages())
            *cgi_ << ui::getDebug(message);
    for (const std::string &message : cgi_->getMessages())
        *cgi_ << "<div style=\"word-break:break-all\">" << ui::getInfo(message) << "</div>";
    writeErrors(0);
    if (cgi_->hasMessages() || cgi_->hasErrors())
        *cgi_ << "<br/>\n";
}

void Engine::writeErrors(std::size_t first) {
    const auto &errors = cgi_->getErrors();
    for (std::size_t i = first; i < errors.size(); ++i)
        *cgi_ << "<div style=\"word-break:break-all\">" << ui::getError(errors[i]) << "</div>";
}

void Engine::renderBody(const Formlet *formlet) {
    const std::string path = forms_folder + formFile_ + ".frm";
    const std::string shownPath = encodeSafe(path);
    const std::string fault = faultOf([&] {
        if (formlet != nullptr) {
            if (formlet->render != nullptr)
                formlet->render(*this);
            else
                *cgi_ << ui::getFatal("No such formlet: " + encodeSafe(formFile_));
            return;
        }
        if (!isFormFileName(formFile_) || !isFile(path)) {
            *cgi_ << ui::getError("No such file: " + shownPath);
            return;
        }
        if (!writeTemplate(path))
            *cgi_ << ui::getError("Error opening file: " + shownPath);
    });
    if (!fault.empty())
        *cgi_ << ui::getFatal(fault);
}

void Engine::writeFrame(const char *name) {
    const std::string path = std::string(forms_folder) + name;
    if (!writeTemplate(path))
        logRecord(Priority::fatal, "No such file: %s", path.c_str());
}

bool Engine::writeTemplate(const std::string &path) {
    const auto text = readFile(appliancePath(path));
    if (text)
        cgi_->write(*text, true);
    return text.has_value();
}

void Engine::runConfigurators() {
    if (!configManager_.hasConfiguratorsScheduled())
        return;
    ignoreHangUps();
    logRecord(Priority::debug, "'%s' running configurator(s)", formId_.c_str());
    // Held before the response ends: the browser's next request already has to wait. Another
    // request may have begun to run its own while this one made its page.
    while (pidfile_create("configurators") != 0) {
        if (errno != EBUSY && errno != EWOULDBLOCK) {
            // What was saved must take effect all the same.
            logRecord(Priority::error, "Failed to take the pid file of configurators: %s",
                      std::strerror(errno));
            break;
        }
        cgi_->finishResponse();
        waitForConfigurators();
    }
    cgi_->finishResponse();
    if (!configManager_.run())
        cgi_->addError("Failed to synchronize running system with configuration.");
    pidfile_clear("configurators");
}

} // namespace zandorin
