#include "forms/rules.h"
#include "framework/formlet.h"
#include "util/log.h"
#include "util/strings.h"

namespace zandorin {
namespace {

/// A kind of server: the methods of "config.auth.type" that need it, and what it needs.
struct Service {
    const char *methods[4];
    const char *prefix;
    const char *server;
    const char *mismatch;
    const char *serverMissing;
    const char *passwordMissing;
};

constexpr Service services[] = {
    {{"LocalTACACS", "TACACS", "TACACSLocal", "TACACSDownLocal"},
     "config.auth.tacacs.",
     "auth_server",
     "TACACS Password does not match confirmation.",
     "TACACS+ Authentication and Authorization Server Address must be specified",
     "TACACS+ Server Password must be specified"},
    {{"LocalRADIUS", "RADIUS", "RADIUSLocal", "RADIUSDownLocal"},
     "config.auth.radius.",
     "auth_server",
     "RADIUS Password does not match confirmation.",
     "RADIUS Authentication and Authorization Server Address must be specified",
     "RADIUS Server Password must be specified"},
    {{"LocalLDAP", "LDAP", "LDAPLocal", "LDAPDownLocal"},
     "config.auth.ldap.",
     "server",
     "LDAP Password does not match confirmation.",
     "LDAP Server Address must be specified",
     "LDAP Server Password must be specified"},
};

bool isNeeded(const Service &service, const std::string &type) {
    for (const char *method : service.methods)
        if (type == method)
            return true;
    return false;
}

bool isLifetime(const std::string &text) {
    constexpr std::int64_t least_minutes = 10;
    constexpr std::int64_t most_minutes = 1440;
    const auto minutes = parseWhole(text);
    return minutes && *minutes >= least_minutes && *minutes <= most_minutes;
}

bool validateAuthForm(Engine &engine) {
    ZANDORIN_TRACE();
    Rules rules(engine);
    for (const Service &service : services) {
        const std::string prefix = service.prefix;
        rules.requireMatch(prefix + "password", prefix + "confirm", service.mismatch);
    }
    const std::string lifetime = rules.text("config.auth.sessionlifetime");
    rules.require(lifetime.empty() || isLifetime(lifetime),
                  "Session lifetime must be between 10 and 1440 minutes");
    const std::string type = rules.text("config.auth.type");
    for (const Service &service : services) {
        if (!isNeeded(service, type))
            continue;
        const std::string prefix = service.prefix;
        rules.require(rules.isGiven(prefix + service.server), service.serverMissing);
        rules.require(rules.isPasswordGiven(prefix + "password"), service.passwordMissing);
    }
    return rules.hold();
}

const AutoRegisterFormValidator registration("auth", validateAuthForm);

} // namespace
} // namespace zandorin
