#include "forms/autoresponse_settings.h"

namespace zandorin::autoresponse {

namespace {

constexpr Field general[] = {
    textField("name", "Name", "printable", "Names this auto-response in lists and commands.", 64),
    numberField("reset_timeout", "Reset Timeout (seconds)",
                "After a trigger, the time until the check can trigger again."),
    boxField("repeat_trigger", "Repeat Trigger Actions",
             "Run the trigger actions again and again until the check resolves."),
    numberField("repeat_timeout", "Repeat Trigger Delay (seconds)", "Between two such runs."),
    boxField("disable_time_period", "Ignore Active Times",
             "Active at all times; the times below are kept for later."),
};

constexpr Field global[] = {
    boxField("logging.enabled", "Log Events", "Record every trigger and every action in the log."),
    numberField("boot_delay", "Delay after Boot (seconds)",
                "Checks begin this long after the appliance has started."),
};

} // namespace

std::span<const Field> generalFields() {
    return general;
}

std::span<const Field> globalFields() {
    return global;
}

} // namespace zandorin::autoresponse
