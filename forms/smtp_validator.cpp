#include "forms/rules.h"
#include "framework/formlet.h"
#include "util/log.h"

namespace zandorin {
namespace {

bool validateSmtpForm(Engine &engine) {
    ZANDORIN_TRACE();
    Rules rules(engine);
    rules.requireMatch("config.system.smtp.password", "config.system.smtp.confirm",
                       "Password does not match confirmation.");
    return rules.hold();
}

const AutoRegisterFormValidator registration("smtp", validateSmtpForm);

} // namespace
} // namespace zandorin
