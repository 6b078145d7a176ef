#include "engine/engine.h"
#include "forms/rules.h"
#include "framework/formlet.h"
#include "util/log.h"
#include "util/strings.h"

namespace zandorin {
namespace {

bool validateServicesForm(Engine &engine) {
    ZANDORIN_TRACE();
    Rules rules(engine);
    if (rules.isGiven("config.services.https.enabled"))
        rules.require(Engine::isFile("/etc/config/ssl_cert.pem") &&
                          Engine::isFile("/etc/config/ssl_key.pem"),
                      "An SSL Local certificate '/etc/config/ssl_cert.pem' and an SSL Private key "
                      "'/etc/config/ssl_key.pem' must be installed before enabling HTTPS.");
    for (const char *key : {"config.bfprotection.limit", "config.bfprotection.timeout"}) {
        const std::string value = rules.text(key);
        rules.require(value.empty() || parseWhole(value).value_or(0) >= 1,
                      "The " + rules.label(key) +
                          " value must greater than 0. Clear the field to revert to the default "
                          "value.");
    }
    return rules.hold();
}

const AutoRegisterFormValidator registration("services", validateServicesForm);

} // namespace
} // namespace zandorin
