#pragma once

#include <string>
#include <vector>

namespace zandorin {

class Cgi;
class Engine;

namespace ui {

/// Registers every template function with the page's stream, under names such as
/// "ui::getTextInput". The stream's argument must be the Engine before a template is written.
void registerTemplateFunctions(Cgi &cgi);

/// What a template wrote between the name and the closing bracket, split at commas.
using Arguments = std::vector<std::string>;

// The functions, by subject. Each answers markup or text that is safe to show; what went wrong is
// an error of the request. How many arguments each takes, and what a wrong number is answered
// with, is the table's business in template_functions.cpp: none is called with fewer than it needs.
// docs/templates.md tells template authors what each does.

// Elements and inputs (template_inputs.cpp)
std::string addElement(Engine &engine, const Arguments &arguments = {});
std::string getElemValue(Engine &engine, const Arguments &arguments);
std::string getElemLabel(Engine &engine, const Arguments &arguments);
std::string getTextInput(Engine &engine, const Arguments &arguments);
std::string getUnsafeTextInput(Engine &engine, const Arguments &arguments);
std::string getTextAreaInput(Engine &engine, const Arguments &arguments);
std::string getUnsafeTextAreaInput(Engine &engine, const Arguments &arguments);
std::string getPassInput(Engine &engine, const Arguments &arguments);
std::string getConfirmInput(Engine &engine, const Arguments &arguments);
std::string getCheckInput(Engine &engine, const Arguments &arguments);
std::string getMenuInput(Engine &engine, const Arguments &arguments);
std::string getRadioInput(Engine &engine, const Arguments &arguments);
std::string getRadioInputLabels(Engine &engine, const Arguments &arguments);
std::string getButtonInput(Engine &engine, const Arguments &arguments = {});
std::string getFileInput(Engine &engine, const Arguments &arguments);

// Navigation (template_navigation.cpp)
std::string getNavPanel(Engine &engine, const Arguments &arguments = {});
std::string getShortcuts(Engine &engine, const Arguments &arguments = {});
std::string getProxyInfo(Engine &engine, const Arguments &arguments = {});
std::string getHref(Engine &engine, const Arguments &arguments);
std::string getPicture(Engine &engine, const Arguments &arguments);

// The appliance and its user (template_system.cpp)
std::string getFirmwareVersion(Engine &engine, const Arguments &arguments = {});
std::string getCurrentUser(Engine &engine, const Arguments &arguments = {});
std::string getTopStatusMenu(Engine &engine, const Arguments &arguments = {});
std::string getModel(Engine &engine, const Arguments &arguments = {});
std::string getEnvValue(Engine &engine, const Arguments &arguments);
std::string getTime(Engine &engine, const Arguments &arguments = {});
/// "config.system.name", or the host name when that is empty.
std::string getSystemName(Engine &engine, const Arguments &arguments = {});
std::string getSystemPassword(Engine &engine, const Arguments &arguments = {});
std::string getUptime(Engine &engine, const Arguments &arguments = {});
std::string getFipsMode(Engine &engine, const Arguments &arguments = {});
std::string getFipsModeChecked(Engine &engine, const Arguments &arguments = {});
std::string getMotd(Engine &engine, const Arguments &arguments = {});

// For the page's foot (template_changes.cpp)
/// The changes of the configuration, key by key, after a save and on the page "commit"; else "".
std::string getChanges(Engine &engine, const Arguments &arguments = {});
/// What scripts need to know of the page, as a JSON data block: {"form": id, "user": name,
/// "submitted": bool, "fields": {name: [type, label as markup]}}.
std::string getPageData(Engine &engine, const Arguments &arguments = {});

// Files and services (template_files.cpp)
std::string getFile(Engine &engine, const Arguments &arguments);
std::string getPmshellPamElements(Engine &engine, const Arguments &arguments = {});
std::string getSnmpEngineIdLabel(Engine &engine, const Arguments &arguments);

} // namespace ui
} // namespace zandorin
