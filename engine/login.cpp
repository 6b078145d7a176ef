#include "engine/login.h"

#include "cgi/cgi.h"
#include "cgi/session_file.h"
#include "engine/engine.h"
#include "engine/login_guard.h"
#include "util/log.h"

#include <algorithm>
#include <limits>

namespace zandorin {

namespace {

constexpr int default_lifetime_minutes = 20;

/// The name that the helper is asked about. What cannot be a user's name is handed on as one that
/// nobody has, so that such a login fails there, like any other and as slowly.
std::string loginName(const CgiValue &field) {
    if (field.raw.empty())
        return "(empty username)";
    if (field.hasMarkup() || !isSessionUsername(field.raw))
        return "(malformed username)";
    return field.raw;
}

std::size_t mostSessions(const ConfigManager &config) {
    constexpr unsigned usual = 20;
    const unsigned most = config.getSize("config.auth.maxsessions");
    return most == 0 ? usual : most;
}

int lifetimeMinutes(const ConfigManager &config) {
    constexpr unsigned most = std::numeric_limits<int>::max();
    const unsigned minutes = std::min(config.getSize("config.auth.sessionlifetime"), most);
    return minutes == 0 ? default_lifetime_minutes : static_cast<int>(minutes);
}

/// False, with an error of the request, while too many logins have failed.
bool isAdmitted(const ConfigManager &config, Cgi &cgi, const std::string &name) {
    if (!LoginGuard::isEnabled(config))
        return true;
    const std::string address = cgi.getRemoteAddress();
    const auto wait = LoginGuard(config).admit(address, name);
    if (wait.count() == 0)
        return true;
    logRecord(Priority::info, "WebUI User: %s - REFUSED after too many failed logins, from %s",
              name.c_str(), address.c_str());
    const auto minutes = std::chrono::ceil<std::chrono::minutes>(wait).count();
    cgi.addError("Too many logins have failed. Please try again in " + std::to_string(minutes) +
                 (minutes == 1 ? " minute." : " minutes."));
    return false;
}

} // namespace

bool isLoginPost(const Cgi &cgi) {
    return cgi.getRequestMethod() == "POST" && cgi.getVarString("form").raw == "login";
}

void loginHandlePost(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr || !isLoginPost(*cgi) || cgi->getVarString("action").raw != "login_userpass")
        return;
    const ConfigManager &config = engine.config();
    const std::string name = loginName(cgi->getVarString("username"));
    if (!isAdmitted(config, *cgi, name)) {
        engine.setLoginRefused();
        return;
    }
    engine.setSession(Session(name, cgi->getVarString("password").raw, lifetimeMinutes(config),
                              !config.getBoolean("config.auth.autorefresh.disabled"),
                              !config.getBoolean("config.auth.extendedsessionids")));
    if (engine.session().isValid())
        engine.session().setSessionCookie(*cgi);
}

void loginSucceeded(Engine &engine) {
    if (LoginGuard::isEnabled(engine.config()))
        LoginGuard(engine.config())
            .succeeded(engine.cgi()->getRemoteAddress(), engine.session().username());
    const Session &session = engine.session();
    limitSessionsOf(session.username(), mostSessions(engine.config()), session.sessionId());
}

} // namespace zandorin
