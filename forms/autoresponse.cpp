#include "forms/autoresponse.h"

#include "forms/autoresponse_actions.h"
#include "forms/autoresponse_checks.h"
#include "platform/libzandorin/config_manager.h"
#include "settings/problems.h"
#include "settings/registry.h"
#include "settings/values.h"
#include "util/strings.h"

// Rules that watch the appliance and act on it. The service that carries them out is another
// program; docs/autoresponse.md is what the two agree on.

namespace zandorin::autoresponse {
namespace {

using settings::Column;
using settings::List;
using settings::Problems;
using settings::Section;
using settings::Values;

constexpr const char *no_name = "Please give the auto-response a name.";

bool isNoBlank(const std::string &name) {
    return !trim(name).empty();
}

constexpr Field general[] = {
    {.label = "Name",
     .key = ".name",
     .type = "printable",
     .help = "Names this auto-response in lists and commands.",
     .maxlength = 64,
     .accepts = isNoBlank,
     .refusal = no_name,
     .missing = no_name},
    numberField("Reset Timeout (seconds)", ".reset_timeout",
                "After a trigger, the time until the check can trigger again."),
    boxField("Repeat Trigger Actions", ".repeat_trigger",
             "Run the trigger actions again and again until the check resolves."),
    numberField("Repeat Trigger Delay (seconds)", ".repeat_timeout",
                "Between two such runs. Empty or 0: 60."),
    boxField("Ignore Active Times", ".disable_time_period",
             "Active at all times; the times below are kept for later."),
};

constexpr Field hour(const char *key, const char *label) {
    return numberField(label, key, "", 23, 2);
}
constexpr Field minute(const char *key, const char *label) {
    return numberField(label, key, "", 59, 2);
}
// For each day from and to, hours and minutes.
constexpr Field times[] = {
    hour(".time_monday_from_hour", "Monday from, hour"),
    minute(".time_monday_from_min", "Monday from, minute"),
    hour(".time_monday_to_hour", "Monday to, hour"),
    minute(".time_monday_to_min", "Monday to, minute"),
    hour(".time_tuesday_from_hour", "Tuesday from, hour"),
    minute(".time_tuesday_from_min", "Tuesday from, minute"),
    hour(".time_tuesday_to_hour", "Tuesday to, hour"),
    minute(".time_tuesday_to_min", "Tuesday to, minute"),
    hour(".time_wednesday_from_hour", "Wednesday from, hour"),
    minute(".time_wednesday_from_min", "Wednesday from, minute"),
    hour(".time_wednesday_to_hour", "Wednesday to, hour"),
    minute(".time_wednesday_to_min", "Wednesday to, minute"),
    hour(".time_thursday_from_hour", "Thursday from, hour"),
    minute(".time_thursday_from_min", "Thursday from, minute"),
    hour(".time_thursday_to_hour", "Thursday to, hour"),
    minute(".time_thursday_to_min", "Thursday to, minute"),
    hour(".time_friday_from_hour", "Friday from, hour"),
    minute(".time_friday_from_min", "Friday from, minute"),
    hour(".time_friday_to_hour", "Friday to, hour"),
    minute(".time_friday_to_min", "Friday to, minute"),
    hour(".time_saturday_from_hour", "Saturday from, hour"),
    minute(".time_saturday_from_min", "Saturday from, minute"),
    hour(".time_saturday_to_hour", "Saturday to, hour"),
    minute(".time_saturday_to_min", "Saturday to, minute"),
    hour(".time_sunday_from_hour", "Sunday from, hour"),
    minute(".time_sunday_from_min", "Sunday from, minute"),
    hour(".time_sunday_to_hour", "Sunday to, hour"),
    minute(".time_sunday_to_min", "Sunday to, minute"),
};

/// Of the four fields of a day.
void checkDay(std::span<const settings::Value *const, 4> day, Problems &problems) {
    constexpr std::int64_t minutes_an_hour = 60;
    const auto isEmpty = [&](std::size_t part) { return day[part]->text.empty(); };
    const auto minutes = [&](std::size_t part) {
        return parseWhole(day[part]->text).value_or(0) * minutes_an_hour +
               parseWhole(day[part + 1]->text).value_or(0);
    };
    const std::string label = day[0]->field->label;
    const std::string name = "<i>" + label.substr(0, label.find(' ')) + "</i>";
    if (isEmpty(0) != isEmpty(2) || (isEmpty(0) && !(isEmpty(1) && isEmpty(3))))
        problems.add(day[0]->name, name + " needs the hours from and to, or neither.");
    else if (!isEmpty(0) && minutes(2) <= minutes(0))
        problems.add(day[2]->name, name + " must end after it begins.");
}

void checkTimes(const Values &values, Problems &problems) {
    std::vector<const settings::Value *> day;
    for (const settings::Value &value : values.all()) {
        // By their keys: the table itself has addresses and is only to be packed.
        if (!std::string_view(value.field->key).starts_with(".time_"))
            continue;
        day.push_back(&value);
        if (day.size() < 4)
            continue;
        checkDay(std::span<const settings::Value *const, 4>(day), problems);
        day.clear();
    }
}

constexpr Section record_sections[] = {
    {.title = "", .fields = general},
    {.title = "Active Times", .fields = times},
};

std::string delayOf(const ConfigManager &config, const std::string &key) {
    const std::string delay =
        config.getElement(concat({key, ".", config.getElement(key + ".type"), ".delay_time"}));
    return (delay.empty() ? "0" : delay) + " s";
}
std::string nameOf(const ConfigManager &config, const std::string &key) {
    return config.getElement(concat({key, ".", config.getElement(key + ".type"), ".name"}));
}
constexpr Column action_columns[] = {
    {.title = "Delay Time", .status = delayOf},
    {.title = "Action Name", .status = nameOf},
    {.title = "Action Type", .key = ".type"},
};
constexpr List actionList(const char *key, const char *typeField, const char *title,
                          const char *singular) {
    return {.key = key,
            .word = "action",
            .title = title,
            .singular = singular,
            .empty = "No Actions Scheduled",
            .columns = action_columns,
            .question = "Delete the action '{}' of '{}'?",
            .moves = true,
            .variantKey = ".type",
            .variantField = typeField,
            .variantWord = "action",
            .unchosen = "Select an action type from the left menu",
            .noVariant = "Unknown Action Type",
            .variants = actions::types,
            .probe = "Try this action"};
}
constexpr List actions_of_record[] = {
    actionList(".trigger_actions", "trigger_action_type", "Trigger Actions", "Trigger Action"),
    actionList(".resolve_actions", "resolve_action_type", "Resolve Actions", "Resolve Action"),
};

constexpr Column record_columns[] = {
    {.title = "Name", .key = ".name"},
    {.title = "Check Type", .key = ".check_type", .status = shownAmounts},
    {.title = "Status"}, // what the service reports
};

constexpr List records[] = {
    {.key = "config.autoresponse",
     .word = "autoresponse",
     .title = "Configured Auto-Responses",
     .singular = "Auto-Response",
     .empty = "No auto-responses are configured.",
     .name = ".name",
     .columns = record_columns,
     .sections = record_sections,
     .question = "Delete the auto-response '{}' with its check and all of its actions?",
     .rule = checkTimes,
     .variantKey = ".check_type",
     .variantWord = "check",
     .unchosen = "Add a new check by selecting a check type from the left menu",
     .noVariant = "No Check type selected",
     .variants = checks::types,
     .lists = actions_of_record,
     .derive = storeAmounts,
     .command = "cancel",
     .commandTitle = "Cancel",
     .commandQuestion = "Cancel what '{}' is doing? Actions that wait are not run, and its status "
                        "returns to normal.",
     .probe = "What does this check read now?"},
};

constexpr Field global[] = {
    boxField("Log Events", "config.autoresponse.logging.enabled",
             "Record every trigger and every action in the log."),
    numberField("Delay after Boot (seconds)", "config.autoresponse.boot_delay",
                "Checks begin this long after the appliance has started."),
};
constexpr Section sections[] = {{.title = "Settings", .fields = global}};

constexpr settings::Page page = {.sections = sections, .lists = records};
const settings::AutoRegisterPage registration("autoresponse", settings::packed<page>());

} // namespace
} // namespace zandorin::autoresponse
