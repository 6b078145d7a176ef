#include "engine/engine.h"
#include "forms/dialin.h"
#include "forms/rules.h"
#include "framework/formlet.h"
#include "ui/escape.h"
#include "util/log.h"

namespace zandorin {
namespace {

void requireAddress(Engine &engine, Rules &rules, const std::string &field) {
    if (!engine.elements().contains(field))
        rules.require(false, "No such form element: " + encodeSafe(field));
    else
        rules.require(rules.isGiven(field),
                      "Dial-In configuration requires a <i>" + rules.label(field) + "</i>");
}

bool validateDialinForm(Engine &engine) {
    ZANDORIN_TRACE();
    Rules rules(engine);
    const std::string ppp = "config." + dialinPort(engine) + ".ppp";
    if (rules.isGiven(ppp + ".enabled")) {
        requireAddress(engine, rules, ppp + ".localip");
        requireAddress(engine, rules, ppp + ".remoteip");
    }
    rules.requireMatch(ppp + ".password", ppp + ".confirm",
                       "Dial-In password does not match confirmation.");
    if (rules.isGiven(ppp + ".callback.enabled"))
        rules.require(rules.isGiven(ppp + ".callback.phone1"),
                      "Dial-Back requires a Phone Number.");
    rules.requireMatch(ppp + ".dialer.password", ppp + ".dialer.confirm",
                       "Dial-out password does not match confirmation.");
    return rules.hold();
}

const AutoRegisterFormValidator registration("dialin", validateDialinForm);

} // namespace
} // namespace zandorin
