#pragma once

#include "cgi/session.h"
#include "engine/nav_tree.h"
#include "platform/libzandorin/config_manager.h"
#include "platform/libzdsupport/roles.h"
#include "settings/fingerprint.h"
#include "settings/form_elem.h"
#include "settings/packed.h"
#include "settings/values.h"
#include "util/fd.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zandorin {

class Cgi;
struct Formlet;

/// Drives one request from start to finished page and owns everything it needs. One a process, on
/// the stack of main: construct, displayPage() once, destroy. Forms, validators and template
/// functions receive it; whatever they take from it lives as long as the request.
class Engine : public ConfigManagerListener {
  public:
    /// Decodes the request, loads the configuration and finds the form asked for. Faults of the
    /// configuration become messages of the page. Who asks is looked up by displayPage.
    Engine();
    ~Engine() override;
    Engine(const Engine &) = delete;
    Engine &operator=(const Engine &) = delete;

    /// Serves the request: authorization, page, commit; then runs scheduled configurators.
    void displayPage();

    /// The request; null when it could not be made. Forms reach it through requireCgi.
    Cgi *cgi() { return cgi_.get(); }
    /// The request, or null with "CGI is not initialized" logged: whoever asked skips its action.
    Cgi *requireCgi();
    ConfigManager &config() { return configManager_; }
    Session &session() { return session_; }
    /// Makes `session` the session of this request.
    void setSession(Session session) { session_ = std::move(session); }
    /// The request's login was not even tried, and the request's errors say why.
    bool loginRefused() const { return loginRefused_; }
    void setLoginRefused() { loginRefused_ = true; }
    const NavTree &navTree() const { return navTree_; }
    const std::string &title() const { return title_; }
    const std::string &formId() const { return formId_; }
    const std::string &formArgs() const { return formArgs_; }
    /// Base name of the form's templates, and the name of its formlet or table.
    const std::string &formFile() const { return formFile_; }
    FormElements &elements() { return elements_; }
    bool debugMode() const { return debugMode_; }
    /// The first line of /etc/version, such as "Zandorin/HX9016 Version 1.0.0 2fa1c0de", without
    /// its line end; "" when there is none. Read when it is asked for first.
    const std::string &versionLine();

    /// Declares an element of the form; a name that is declared already is reported as an error of
    /// the request and stays as it was.
    void addElement(const std::string &name, const FormElem &element);

    /// Has one more configurator scheduled when the form is committed.
    void addConfigurator(const std::string &name) { extraConfigurators_.push_back(name); }

    /// The table of the page, once something has loaded it (see ui/settings_page.h).
    std::optional<settings::LoadedPage> &pageTable() { return pageTable_; }
    /// The values of the page, from its first callback for its second.
    std::optional<settings::Values> &pageValues() { return pageValues_; }

    /// Makes the request count as a submission even without "apply".
    void setForceSubmit(bool force) { forceSubmit_ = force; }
    bool formWasSubmitted() const;

    /// Which of the page's attempts was asked for (see settings/page.h); "" for none. Such a
    /// request is checked as a submission is, and changes nothing.
    const std::string &attempt() const { return attempt_; }
    /// What the request would store if it were a submission: keys with new values, "" for what it
    /// would delete. Known once an attempt was checked; with passwords.
    const std::vector<std::pair<std::string, std::string>> &typedChanges() const {
        return typedChanges_;
    }

    /// True when the appliance's file `path` is there and is a regular file, or a link that leads
    /// to one.
    static bool isFile(const std::string &path);

    /// The session's user, or "unknown".
    std::string getCurrentUsername() const;
    /// Roles of the session's user, empty when nobody is logged in. Belongs to the engine.
    roles_t getUserRoles();
    /// True when the session's user may open the form; "" means this request's form. Reasons for a
    /// refusal are logged.
    bool isAuthorized(const std::string &formId);

    /// True when the session's user is logged in and may use pages at all: has an account, and
    /// roles, and need not wait for passwords to be converted. Reasons for a refusal are logged.
    bool mayUsePages();

    /// Ends root's other sessions when root's password is among what was committed.
    void endSessionsAfter(const std::vector<ConfigChange> &changes) const;

    /// True when the page of this leaf is to be offered to the session's user: its condition holds,
    /// and the user may open it.
    bool isOffered(const NavLeaf &leaf);

    /// Has `effect` called once everything that was submitted has passed every check, before it is
    /// put into the store. What it cannot do it reports as an error of the request; then nothing is
    /// saved, and no further effect called.
    void onAccepted(std::function<void()> effect) { effects_.push_back(std::move(effect)); }

    /// The same, with the values in the store's memory already, before it is written: for what
    /// follows from them.
    void onSaved(std::function<void()> effect) { derived_.push_back(std::move(effect)); }

    /// Has `effect` called with true once the form that was submitted is stored, also where that
    /// changed nothing; with false when the configuration could not be written.
    void onWritten(std::function<void(bool)> effect) { written_.push_back(std::move(effect)); }

    /// Makes this request the only one that changes settings until it has saved them, and reads the
    /// configuration as it is by now. False, with an error of the request, when that failed.
    bool lockSettings();

    /// What the page of a submission was made from; empty when it does not say.
    settings::Fingerprint openedWith() const;

    /// True when a submitted value fits the element's type; otherwise an error of the request says
    /// why. For forms whose fields are no elements. A password's value is shown nowhere.
    bool acceptsValue(const FormElem &element, const std::string &value);
    /// Checks every declared element and, when the form was submitted without any error, puts the
    /// values into the store.
    void validateForm();
    /// Saves what a submitted form changed and schedules the configurators. Throws
    /// utilities::Exception when the store cannot be written.
    void configure();

    void configuratorStarted(const std::string &name) override;
    void configuratorEnded(const std::string &name, std::time_t started,
                           std::time_t ended) override;

  private:
    void loadConfiguration();
    void setLogLevel();
    std::string defaultForm() const;
    /// Waits until no other request runs configurators; true when one did.
    static bool waitForConfigurators();
    /// The request may change something (see isCommand).
    bool acts() const;
    /// A request that another site made, to change something (CSRF).
    bool isCrossSiteForgery() const;
    void refuseCrossSiteForgery();
    void establishUser();
    void labelPage();
    bool isUserKnown(const std::string &user);
    void refuse();
    void defineForm(const Formlet *formlet);
    /// configure() with what was to follow it.
    void saveForm();
    void openPage();
    void closePage();
    void writeMessages();
    void writeErrors(std::size_t first);
    void renderBody(const Formlet *formlet);
    /// Head or tail of the page.
    void writeFrame(const char *name);
    /// False when there is no such file to be read.
    bool writeTemplate(const std::string &path);
    void runConfigurators();

    std::string title_;
    std::unique_ptr<Cgi> cgi_;
    ConfigManager configManager_;
    Session session_{"", false}; ///< nobody's until displayPage looks
    utilities::Roles roles_;     ///< of rolesUser_
    std::string rolesUser_;
    std::string knownUser_; ///< last user that was found to have an account
    std::string formId_ = "index";
    std::string formFile_;
    std::string formArgs_;
    std::string attempt_;
    FormElements elements_;
    std::vector<std::string> extraConfigurators_;
    std::vector<std::function<void()>> effects_;
    std::vector<std::function<void()>> derived_;
    std::vector<std::function<void(bool)>> written_;
    std::vector<std::pair<std::string, std::string>> typedChanges_;
    std::optional<settings::LoadedPage> pageTable_;
    std::optional<settings::Values> pageValues_;
    UniqueFd settingsLock_; ///< held from lockSettings until the form is saved
    NavTree navTree_;
    std::string favicon_;
    std::string stylesheet_;
    bool authorized_ = false;
    bool forceSubmit_ = false;
    bool loginRefused_ = false;
    bool debugMode_ = false;
    std::optional<std::string> versionLine_;
};

} // namespace zandorin
