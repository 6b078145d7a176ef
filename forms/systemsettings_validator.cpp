#include "cgi/cgi.h"
#include "engine/engine.h"
#include "forms/rules.h"
#include "framework/formlet.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"

#include <cerrno>

#include <unistd.h>

namespace zandorin {
namespace {

constexpr const char *motd_path = "/etc/config/motd";
constexpr const char *motd_field = "config.system.motd";
constexpr std::size_t motd_buffer = 16384;

bool validatePassword(Engine &engine, const std::string &prefix) {
    ZANDORIN_TRACE();
    Rules rules(engine);
    rules.requireMatch(prefix + "password", prefix + "confirm",
                       "Password does not match confirmation.");
    return rules.hold();
}

bool removeMotd() {
    logRecord(Priority::info, "Removing the message of the day");
    return ::unlink(appliancePath(motd_path).c_str()) == 0 || errno == ENOENT;
}

/// Acts at once: the message is a file, not a value of the configuration.
bool validateMotd(Engine &engine, Cgi &cgi) {
    ZANDORIN_TRACE();
    const std::string text = cgi.getVarString(motd_field, motd_buffer).raw;
    const bool remove = !cgi.getVarString(std::string(motd_field) + ".delete").raw.empty();
    if (!engine.formWasSubmitted() || cgi.hasErrors() || (text.empty() && !remove))
        return true;
    constexpr mode_t readable = 0644;
    if (!(remove ? removeMotd() : replaceFile(appliancePath(motd_path), text, readable))) {
        cgi.addError(std::string("Failed to open file: ") + motd_path);
        return false;
    }
    cgi.addMessage(remove ? "The message of the day was removed."
                          : "The message of the day was changed.");
    if (engine.config().hasConfigurator(engine.formId()))
        engine.config().schedule(engine.formId());
    return true;
}

bool validateSettingsForm(Engine &engine) {
    ZANDORIN_TRACE();
    const bool matches = validatePassword(engine, "config.system.");
    Cgi *cgi = engine.requireCgi();
    return cgi != nullptr && validateMotd(engine, *cgi) && matches;
}

const AutoRegisterFormValidator registration("systemsettings", validateSettingsForm);

} // namespace
} // namespace zandorin
