#include "ui/template_functions.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "util/log.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace zandorin::ui {

namespace {

constexpr std::size_t any = static_cast<std::size_t>(-1);

struct Entry {
    std::string_view name;
    std::string (*function)(Engine &, const Arguments &);
    std::size_t least;      ///< arguments needed
    std::size_t most;       ///< arguments taken
    const char *wrongCount; ///< error of the request otherwise
};

// Some messages name another function or number: templates and
// their authors know them so.
constexpr std::array table = {
    Entry{"ui::addElement", addElement, 0, any, ""},
    Entry{"ui::getNavPanel", getNavPanel, 0, any, ""},
    Entry{"ui::getShortcuts", getShortcuts, 0, any, ""},
    Entry{"ui::getFirmwareVersion", getFirmwareVersion, 0, any, ""},
    Entry{"ui::getCurrentUser", getCurrentUser, 0, any, ""},
    Entry{"ui::getTopStatusMenu", getTopStatusMenu, 0, any, ""},
    Entry{"ui::getModel", getModel, 0, any, ""},
    Entry{"ui::getElemValue", getElemValue, 0, any, ""},
    Entry{"ui::getElemLabel", getElemLabel, 0, any, ""},
    Entry{"ui::getTextInput", getTextInput, 1, 2, "getTextInput() takes between 1 and 2 params"},
    Entry{"ui::getUnsafeTextInput", getUnsafeTextInput, 1, 3,
          "getUnsafeTextInput() takes between 1 and 3 params"},
    Entry{"ui::getTextAreaInput", getTextAreaInput, 1, 3,
          "getTextAreaInput() takes between 1 and 3 params"},
    Entry{"ui::getUnsafeTextAreaInput", getUnsafeTextAreaInput, 1, 3,
          "getUnsafeTextAreaInput() takes between 1 and 3 params"},
    Entry{"ui::getPassInput", getPassInput, 1, 2, "getPassValue() takes between 1 and 2 params"},
    Entry{"ui::getConfirmInput", getConfirmInput, 2, 3,
          "getConfirmInput() takes between 2 and 3 params"},
    Entry{"ui::getCheckInput", getCheckInput, 1, any, "getCheckInput() takes 1 param"},
    Entry{"ui::getMenuInput", getMenuInput, 1, any, "getMenuInput() takes at least 1 param"},
    Entry{"ui::getRadioInput", getRadioInput, 1, any, "getRadioInput() takes at least 1 param"},
    Entry{"ui::getRadioInputLabels", getRadioInputLabels, 1, any,
          "getRadioInput() takes at least 1 param"},
    Entry{"ui::getButtonInput", getButtonInput, 0, any, ""},
    Entry{"ui::getEnvValue", getEnvValue, 1, 1, "getEnvValue() takes 1 param."},
    Entry{"ui::getFileInput", getFileInput, 1, any, "getFileInput() takes at least 1 param"},
    Entry{"ui::getTime", getTime, 0, any, ""},
    Entry{"ui::getFile", getFile, 1, 2, "getFile() takes 1 to 2 params"},
    Entry{"ui::getSystemName", getSystemName, 0, any, ""},
    Entry{"ui::getSystemPassword", getSystemPassword, 0, any, ""},
    Entry{"ui::getProxyInfo", getProxyInfo, 0, any, ""},
    Entry{"ui::getHref", getHref, 2, 2, "href() takes 2 params"},
    Entry{"ui::getPicture", getPicture, 3, 3, "picture() takes 3 params"},
    Entry{"ui::getUptime", getUptime, 0, any, ""},
    Entry{"ui::getFipsMode", getFipsMode, 0, any, ""},
    Entry{"ui::getFipsModeChecked", getFipsModeChecked, 0, any, ""},
    Entry{"ui::getMotd", getMotd, 0, any, ""},
    Entry{"ui::getPmshellPamElements", getPmshellPamElements, 0, any, ""},
    Entry{"ui::getSnmpEngineIdLabel", getSnmpEngineIdLabel, 1, any,
          "getSnmpEngineIdLabel() takes 1 param"},
    Entry{"ui::getChanges", getChanges, 0, any, ""},
    Entry{"ui::getPageData", getPageData, 0, any, ""},
};

/// The stream calls a function without its name, so each table entry has a caller of its own.
template <std::size_t index> std::string call(void *argument, Arguments &arguments) {
    constexpr const Entry &entry = table[index];
    logRecord(Priority::trace, "%s:%d ", entry.name.data(), __LINE__);
    Engine &engine = *static_cast<Engine *>(argument);
    if (arguments.size() >= entry.least && arguments.size() <= entry.most)
        return entry.function(engine, arguments);
    if (Cgi *cgi = engine.requireCgi())
        cgi->addError(entry.wrongCount);
    return "";
}

template <std::size_t... indexes>
cgi::TemplateFunction functionAt(std::size_t index, std::index_sequence<indexes...>) {
    static constexpr std::array<cgi::TemplateFunction, table.size()> callers = {&call<indexes>...};
    return callers[index];
}

cgi::TemplateFunction find(std::string_view name) {
    const auto entry = std::find_if(table.begin(), table.end(),
                                    [name](const Entry &known) { return name == known.name; });
    if (entry == table.end())
        return nullptr;
    return functionAt(static_cast<std::size_t>(entry - table.begin()),
                      std::make_index_sequence<table.size()>());
}

} // namespace

void registerTemplateFunctions(Cgi &cgi) {
    cgi.setFunctionFinder(find);
}

} // namespace zandorin::ui
