#include "cgi/cgi.h"
#include "engine/appliance_state.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "util/log.h"
#include "util/paths.h"

#include <fstream>

// The welcome page: first steps with an appliance as it comes from the factory.

namespace zandorin {
namespace {

struct Step {
    const char *name; ///< in the page's template, where its mark is to be
    bool (*isDone)(const ConfigManager &);
};
constexpr Step steps[] = {
    {"#setup.password", isRootPasswordChanged},
    {"#setup.address", isWanConfigured},
    {"#setup.ports", hasPortSpeeds},
    {"#setup.users", hasUsers},
};

void renderWelcome(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    for (const Step &step : steps)
        cgi->addReplaceable(
            step.name, step.isDone(engine.config()) ? "<span class=\"step-done\">Done</span>" : "");
    constexpr const char *path = "/home/httpd/forms/welcome.html";
    std::ifstream welcome(appliancePath(path));
    if (welcome)
        cgi->write(welcome, true);
    else
        logRecord(Priority::fatal, "No such file: %s", path);
}

const AutoRegisterFormlet registration("index", nullptr, renderWelcome);

} // namespace
} // namespace zandorin
