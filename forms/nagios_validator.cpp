#include "forms/rules.h"
#include "framework/formlet.h"
#include "ui/escape.h"
#include "util/log.h"
#include "util/strings.h"

namespace zandorin {
namespace {

bool validateNagiosForm(Engine &engine) {
    ZANDORIN_TRACE();
    Rules rules(engine);
    rules.requireMatch("config.system.nagios.nsca.secret", "config.system.nagios.nsca.confirm",
                       "NSCA Secret does not match confirmation.");
    const std::string interval = rules.text("config.system.nagios.nsca.interval");
    rules.require(interval.empty() || parseWhole(interval).value_or(-1) >= 0,
                  "NSCA Interval must be assigned a <i>number of minutes</i>. The value <i>" +
                      encodeSafe(interval) + "</i> is invalid.");
    return rules.hold();
}

const AutoRegisterFormValidator registration("nagios", validateNagiosForm);

} // namespace
} // namespace zandorin
