#include "forms/rules.h"
#include "framework/formlet.h"
#include "util/log.h"

namespace zandorin {
namespace {

bool validateEventForm(Engine &engine) {
    ZANDORIN_TRACE();
    Rules rules(engine);
    rules.requireMatch("config.eventlog.server.password", "config.eventlog.server.confirm",
                       "Password does not match confirmation.");
    return rules.hold();
}

const AutoRegisterFormValidator registration("eventlog", validateEventForm);

} // namespace
} // namespace zandorin
