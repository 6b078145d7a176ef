#include "engine/login.h"

#include "cgi/cgi.h"
#include "cgi/session_file.h"
#include "engine/engine.h"
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

int lifetimeMinutes(const ConfigManager &config) {
    constexpr unsigned most = std::numeric_limits<int>::max();
    const unsigned minutes = std::min(config.getSize("config.auth.sessionlifetime"), most);
    return minutes == 0 ? default_lifetime_minutes : static_cast<int>(minutes);
}

} // namespace

void loginHandlePost(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr || cgi->getRequestMethod() != "POST" ||
        cgi->getVarString("action").raw != "login_userpass")
        return;
    const ConfigManager &config = engine.config();
    engine.setSession(Session(loginName(cgi->getVarString("username")),
                              cgi->getVarString("password").raw, lifetimeMinutes(config),
                              !config.getBoolean("config.auth.autorefresh.disabled"),
                              !config.getBoolean("config.auth.extendedsessionids")));
    if (engine.session().isValid())
        engine.session().setSessionCookie(*cgi);
}

} // namespace zandorin
