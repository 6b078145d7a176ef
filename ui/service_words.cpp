#include "ui/service_words.h"

#include "cgi/cgi.h"
#include "platform/libzandorin/service_state.h"
#include "ui/page.h"
#include "util/escape.h"
#include "util/split.h"
#include "util/times.h"

namespace zandorin::ui {

void showRefusals(Cgi &cgi, std::string_view services) {
    for (const std::string &name : utilities::split(services, " ")) {
        const ServiceHistory history = serviceHistory(name);
        if (!history.words.empty())
            cgi << getError("The settings of " + localTime(history.refused) +
                            " were not taken; those before them go on. " +
                            encodeSafe(history.words));
        else if (history.isElsewhere)
            cgi << getInfo("What belongs to the machine is not applied here: this appliance has a "
                           "root folder of its own.");
    }
}

} // namespace zandorin::ui
