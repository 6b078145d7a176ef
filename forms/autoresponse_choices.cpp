#include "forms/autoresponse_choices.h"

#include "platform/libzandorin/config_manager.h"
#include "settings/devices.h"
#include "types/predicates.h"

#include <algorithm>

namespace zandorin::autoresponse {

namespace {

/// The digital pins of the models that have any: "dio1" and so on, inputs first.
struct Pins {
    std::string_view model;
    unsigned inputs;
    unsigned all;
};
constexpr Pins models[] = {{"HX9004", 1, 2}, {"HX9008", 2, 4}, {"HX9016", 2, 4}};

Options pins(const ConfigManager &config, bool areInputs) {
    Options options;
    const std::string model = config.getElement("config.system.model");
    for (const Pins &pins : models)
        if (pins.model == model)
            for (unsigned pin = areInputs ? 1 : pins.inputs + 1;
                 pin <= (areInputs ? pins.inputs : pins.all); ++pin)
                options.emplace_back("dio" + std::to_string(pin), "DIO " + std::to_string(pin));
    return options;
}

} // namespace

Options interfaces(const ConfigManager &config, const std::string & /*place*/) {
    Options options;
    for (const std::string &role : config.getInterfaces())
        if (isValidNIC(role) && role != "any")
            options.emplace_back(role);
    options.emplace_back("any", "Any");
    return options;
}

Options connections(const ConfigManager &config, const std::string & /*place*/) {
    Options options;
    for (const std::string &role : config.getInterfaces())
        options.emplace_back("config.interfaces." + role, role);
    return options;
}

Options upses(const ConfigManager &config, const std::string & /*place*/) {
    return settings::portsWith(config, "ups");
}

Options sensors(const ConfigManager &config, const std::string & /*place*/) {
    Options options;
    for (const settings::Option &port : settings::portsWith(config, "enviro")) {
        options.emplace_back(port.value + ".enviro.temp", port.label + ": temperature");
        options.emplace_back(port.value + ".enviro.humid", port.label + ": humidity");
    }
    return options;
}

Options inputPins(const ConfigManager &config, const std::string & /*place*/) {
    return pins(config, true);
}

Options outputPins(const ConfigManager &config, const std::string & /*place*/) {
    return pins(config, false);
}

bool hasCellularModem(const ConfigManager &config) {
    return config.getElement("config.system.sms.method") == "cellular";
}

} // namespace zandorin::autoresponse
