#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "platform/libzandorin/service_state.h"
#include "ui/settings_page.h"
#include "ui/table.h"
#include "util/escape.h"
#include "util/times.h"

#include <ctime>

// The network services, with what every daemon of the appliance does at this moment.

namespace zandorin {
namespace {

std::string stateWords(const std::string &name, const ServiceHistory &history) {
    if (history.isElsewhere)
        return "not applied here: it belongs to the machine";
    const long seconds = secondsUp(name);
    return seconds < 0 ? "not running" : "running since " + localTime(std::time(nullptr) - seconds);
}

std::string changeWords(const ServiceHistory &history) {
    std::string words =
        history.changed == 0 ? "" : "Last change " + localTime(history.changed) + ".";
    if (!history.words.empty())
        words += " Refused " + localTime(history.refused) + ": " + encodeSafe(history.words);
    return words;
}

void showDaemons(Cgi &cgi) {
    const auto names = serviceNames();
    if (names.empty())
        return;
    ui::Table table(cgi);
    table.open();
    table.titleRow("Daemons");
    for (const std::string &name : names) {
        const ServiceHistory history = serviceHistory(name);
        table.inputRow(encodeSafe(name), stateWords(name, history), changeWords(history));
    }
    table.close();
}

void render(Engine &engine) {
    ui::renderSettings(engine);
    if (Cgi *cgi = engine.requireCgi())
        showDaemons(*cgi);
}

const AutoRegisterFormlet registration("services", ui::defineSettings, render);

} // namespace
} // namespace zandorin
