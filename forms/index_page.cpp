#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "util/log.h"
#include "util/paths.h"

#include <fstream>

// The welcome page: first steps with an appliance as it comes from the factory.

namespace zandorin {
namespace {

void renderWelcome(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
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
