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

using Arguments = std::vector<std::string>;

// The functions that code calls as well. Each answers text that is safe to show.

/// "config.system.name", or the host name when that is empty.
std::string getSystemName(Engine &engine, const Arguments &arguments = {});
std::string getModel(Engine &engine, const Arguments &arguments = {});
std::string getFirmwareVersion(Engine &engine, const Arguments &arguments = {});
std::string getUptime(Engine &engine, const Arguments &arguments = {});

} // namespace ui
} // namespace zandorin
