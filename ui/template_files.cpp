#include "ui/template_functions.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "platform/libzandorin/snmp_engine_id.h"
#include "ui/form_values.h"
#include "ui/inputs.h"
#include "ui/line_pattern.h"
#include "ui/markup.h"
#include "util/escape.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <fstream>
#include <optional>

namespace zandorin::ui {

namespace {

constexpr const char *pattern_key = "config.ui.syslog.filepattern";

/// The pattern of the page's own filter field, which it also keeps in the configuration.
std::string pagePattern(Engine &engine, Cgi &cgi) {
    if (std::string submitted = cgi.getVarString(pattern_key).raw; !submitted.empty())
        return submitted;
    if (!cgi.getVarString(std::string(pattern_key) + ".delete").raw.empty()) {
        engine.config().delElement(pattern_key);
        if (!engine.config().write())
            cgi.addError("Failed to save configuration changes.");
        return "";
    }
    return engine.config().getElement(pattern_key);
}

} // namespace

std::string getFile(Engine &engine, const Arguments &arguments) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return "";
    const std::string path(trim(arguments[0]));
    const std::string pattern = arguments.size() == 2 ? arguments[1] : pagePattern(engine, *cgi);
    LinePattern expression(pattern);
    if (!expression.valid() && !pattern.empty()) {
        cgi->addError((LinePattern::isCostly(pattern) ? "Too large a regular expression: "
                                                      : "Invalid regular expression: ") +
                      encodeSafe(pattern));
        return "";
    }
    std::ifstream file(appliancePath(path));
    if (!file) {
        cgi->addError("Failed to open file: " + encodeSafe(path));
        return "";
    }
    std::string html = "<pre>\n";
    for (std::string line; std::getline(file, line);)
        if (pattern.empty() || expression.matches(line))
            html += escapeHtmlString(line) + "\n";
    return html + "</pre>\n";
}

std::string getPmshellPamElements(Engine &engine, const Arguments &) {
    constexpr const char *name = "config.auth.pmshell.enabled";
    if (!engine.config().getBoolean("config.auth.pmshell.available"))
        return "";
    const auto element = engine.elements().find(name);
    const std::string label = element == engine.elements().end() ? "" : element->second.label;
    return "<tr><td colspan=\"2\" class=\"spacer\">&nbsp;</td><tr><tr><td colspan=\"2\" "
           "class =\"sub-title\"valign=\"top\">Additional Port Authentication</td></tr><tr>"
           "<td width=\"22%\" valign=\"top\" class=\"field-label\">" +
           label + "</td><td width=\"78%\" class=\"field-input\">" +
           checkInput(name, shownChecked(engine, name)) +
           "<br>Enables extra login prompt for users connecting to serial consoles.</td></tr>";
}

std::string getSnmpEngineIdLabel(Engine &engine, const Arguments &arguments) {
    const std::string engineId = snmpEngineId(engine.config(), std::string(trim(arguments[0])));
    return engineId.empty() ? "" : "<b>" + encodeSafe(engineId) + "</b><br/>";
}

} // namespace zandorin::ui
