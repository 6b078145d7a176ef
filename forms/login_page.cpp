#include "cgi/cgi.h"
#include "cgi/session.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "engine/login.h"
#include "platform/libzdsupport/infod.h"
#include "ui/form.h"
#include "ui/page.h"
#include "ui/table.h"
#include "util/environment.h"
#include "util/log.h"

#include <cstdlib>

namespace zandorin {

namespace {

/// Where the forms post to: a login typed in at another form's address must not count as a
/// submission of that form.
constexpr const char *login_url = "?form=login";
constexpr const char *start_url = "?form=index";
/// Where no form leads: the engine knows what comes first.
constexpr const char *home_url = "?";
/// What the two steps of a login post.
constexpr const char *login_action = "login_userpass";
constexpr const char *reply_action = "login_reply";
constexpr int redirect_delay_ms = 1000;
/// How the information service is told of an event.
constexpr int infod_event_kind = 2;

struct AuthEvent {
    const char *words; ///< in the log
    const char *key;   ///< of the information service
};
constexpr AuthEvent login_event = {" - LOGIN from ", "config.webui.auth_event.login"};
constexpr AuthEvent logout_event = {" - LOGOUT from ", "config.webui.auth_event.logout"};
constexpr AuthEvent failure_event = {" - FAILED AUTHENTICATION from ",
                                     "config.webui.auth_event.auth_error"};

std::string clientAddress() {
    const char *address = std::getenv("REMOTE_ADDR");
    std::string text = address == nullptr ? "(null)" : address;
    if (text.find(':') != std::string::npos)
        text = "[" + text + "]";
    if (const std::string_view port = environmentVariable("REMOTE_PORT"); !port.empty())
        (text += ':') += port;
    return text;
}

void recordEvent(const AuthEvent &event, const Session &session) {
    const std::string &user = session.username();
    const std::string address = clientAddress();
    logRecord(Priority::info, "WebUI User: %s%s%s", user.c_str(), event.words, address.c_str());
    infod_push_text(event.key, infod_event_kind, (user + ":" + address).c_str());
}

std::string requestedAction(Engine &engine, const Cgi &cgi) {
    std::string action = cgi.getVarString("action").raw;
    // Those two are the login's own: without a POST of its form they mean nothing.
    if (!isLoginPost(cgi) && (action == login_action || action == reply_action))
        action.clear();
    return action.empty() ? engine.formArgs() : action;
}

/// Another round with the helper when the login needs one: this request holds the newest challenge
/// already. A conversation that failed ends the session.
void goOn(Session &session, Cgi &cgi, bool replied = true) {
    const bool waiting =
        session.authFinalised() || session.authStatus() == Session::state_challenge;
    if (replied && (waiting || session.continueSession()))
        return;
    cgi.addError("This session has encountered an error or timed out");
    session.deleteSession();
}

/// Judges what was typed into the first step; the engine has handed it to the helper already.
bool checkCredentials(Cgi &cgi) {
    const CgiValue username = cgi.getVarString("username");
    const std::size_t before = cgi.getErrors().size();
    if (username.raw.empty())
        cgi.addError("'Username' can not be empty");
    if (cgi.getVarString("password").raw.empty())
        cgi.addError("'Password' can not be empty");
    if (username.hasMarkup())
        cgi.addError("'Username' can not contain markup");
    return cgi.getErrors().size() == before;
}

void handleReply(Session &session, Cgi &cgi) {
    const std::string reply = cgi.getVarString("reply").raw;
    if (reply.empty())
        cgi.addError("'Reply' can not be empty");
    goOn(session, cgi, reply.empty() || session.setReply(reply));
}

/// What a finished conversation means.
void complete(Engine &engine, Session &session, Cgi &cgi) {
    if (session.authSuccess()) {
        loginSucceeded(engine);
        recordEvent(login_event, session);
        return;
    }
    recordEvent(failure_event, session);
    session.deleteSession();
    cgi.addError("Invalid login credentials. Please try again");
}

/// Does what the request's action says to the session. Which step is shown then follows from the
/// action and the session alone.
void handleAction(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr || engine.loginRefused())
        return;
    Session &session = engine.session();
    const std::string action = requestedAction(engine, *cgi);
    if (action == "logout") {
        if (session.authSuccess())
            recordEvent(logout_event, session);
        session.deleteSession();
        return;
    }
    if (action == login_action) {
        if (!checkCredentials(*cgi)) {
            recordEvent(failure_event, session);
            session.deleteSession();
            return;
        }
        goOn(session, *cgi);
    } else if (action == reply_action) {
        if (cgi->varStringExists("cancel")) {
            session.deleteSession();
            return;
        }
        handleReply(session, *cgi);
    } else if (!session.isValid()) {
        return;
    }
    // A session that was logged in before is no login.
    if (session.authFinalised() && (session.authConcluded() || !session.authSuccess()))
        complete(engine, session, *cgi);
}

void showCredentials(Cgi &cgi) {
    ui::Form form(cgi, "login");
    form.openForm("post", "login", login_url);
    form.hiddenInput("action", login_action);
    ui::Table table(cgi);
    table.open();
    table.textInputRow(
        "Username",
        {.name = "username", .value = cgi.getVarString("username").raw, .unsafe = true});
    table.textInputRow("Password/Passcode", {.name = "password", .type = "password"});
    table.applyButtonRow("Submit");
    table.close();
    form.closeForm();
}

void showChallenge(Cgi &cgi, const Session &session) {
    constexpr const char *field_class = "field-input";
    constexpr const char *label_width = "22%";
    ui::Form form(cgi, "login");
    form.openForm("post", "login", login_url);
    form.hiddenInput("action", reply_action);
    ui::Table table(cgi);
    table.open();
    table.textRow(session.getPrompt());
    table.openRow();
    table.cell(field_class, "Response", label_width);
    table.unsafeCell(field_class, ui::textInput({.name = "reply", .type = "password"}));
    table.closeRow();
    table.openRow();
    table.cell(field_class, "", label_width);
    table.unsafeCell(field_class, ui::getApplyButton("apply", "Submit") +
                                      ui::getApplyButton("cancel", "Cancel"));
    table.closeRow();
    table.close();
    form.closeForm();
}

void renderLoginForm(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    const Session &session = engine.session();
    if (requestedAction(engine, *cgi) == "logout")
        *cgi << "You are now logged out"
             << "<br>"
             << "Please click " << ui::link(start_url, "here") << " to start a new session";
    else if (session.authSuccess())
        *cgi << "You have successfully logged in.<br>"
             << ui::delayedRedirect(home_url, redirect_delay_ms);
    else if (session.isValid() && !session.authFinalised())
        showChallenge(*cgi, session);
    else
        showCredentials(*cgi);
}

const AutoRegisterFormlet login_formlet("login", handleAction, renderLoginForm);

} // namespace

} // namespace zandorin
