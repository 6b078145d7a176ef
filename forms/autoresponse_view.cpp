#include "forms/autoresponse.h"
#include "forms/autoresponse_page.h"

#include "settings/variants.h"
#include "ui/page.h"
#include "ui/setting_input.h"
#include "ui/settings_page.h"
#include "ui/variant_panel.h"
#include "util/escape.h"
#include "util/strings.h"

namespace zandorin::autoresponse {

namespace {

constexpr const char *cell_class = "field-output";

/// The page's address, with an action and what follows it when given.
std::string target(const std::string &action = "", unsigned rule = 0,
                   const std::string &rest = "") {
    return action.empty()
               ? "?form=autoresponse"
               : "?form=autoresponse&action=" + action + "&index=" + std::to_string(rule) + rest;
}

void textCells(ui::Table &table, const char *cssClass, const std::vector<std::string> &texts) {
    for (const std::string &text : texts)
        table.unsafeCell(cssClass, escapeXmlText(text));
}

void headingRow(ui::Table &table, const std::vector<std::string> &titles) {
    table.openRow();
    textCells(table, "field-label", titles);
    table.closeRow();
}

const char *titleOf(const settings::Variant *variant, const std::string &name) {
    return variant == nullptr ? name.c_str() : variant->title;
}

} // namespace

settings::Values Request::valuesAt(const settings::Place &place, bool submitted) const {
    return {config_, submitted ? &submission_ : nullptr, place};
}

std::string Request::ruleName(unsigned rule) const {
    const std::string name = config_.getElement(records_.keyOf(rule) + rules_.name);
    return name.empty() ? std::string(rules_.singular) + " " + std::to_string(rule) : name;
}

std::string Request::checkTitle(unsigned rule) const {
    const std::string name = config_.getElement(records_.keyOf(rule) + rules_.variantKey);
    return titleOf(settings::findVariant(rules_.variants, name), name);
}

/// What the configuration says is watched.
std::string Request::subjectOf(unsigned rule) const {
    const std::string key = records_.keyOf(rule);
    const settings::Variant *check =
        settings::findVariant(rules_.variants, config_.getElement(key + rules_.variantKey));
    if (check == nullptr)
        return "";
    settings::Values values = valuesAt({.names = key, .keys = key}, false);
    values.add(check->fields);
    const settings::Value *value = *check->subject == '\0' ? nullptr : values.find(check->subject);
    return value == nullptr ? "" : settings::storedWords(*value);
}

void Request::listRules(const std::string &title, const std::vector<std::string> &headings,
                        const std::function<void(ui::Table &, unsigned, const Report &)> &cells) {
    const auto numbers = records_.checkedNumbers(config_);
    const auto reports = readReports(numbers.empty() ? 0 : numbers.back());
    ui::Table table(cgi_);
    table.open();
    table.titleRow(title);
    headingRow(table, headings);
    for (const unsigned number : numbers) {
        table.openRow();
        cells(table, number, reports[number - 1]);
        table.closeRow();
    }
    if (numbers.empty())
        table.textRow(rules_.empty);
    table.close();
}

void Request::renderStatus() {
    listRules("Auto-Responses",
              {"Name", "Type", "Checked Device/Property", "Event/Measured Value",
               "User/Device Name", "Status"},
              [this](ui::Table &table, unsigned rule, const Report &report) {
                  textCells(table, cell_class,
                            {ruleName(rule), checkTitle(rule),
                             report.subject.empty() ? subjectOf(rule) : report.subject,
                             report.value, report.user, report.status});
              });
}

void Request::renderList() {
    listRules(rules_.title, {"Name", "Check Type", "Status", "Modify", "Delete", "Cancel"},
              [this](ui::Table &table, unsigned rule, const Report &report) {
                  const std::string amounts = shownAmounts(config_, records_.keyOf(rule));
                  textCells(table, cell_class,
                            {ruleName(rule),
                             checkTitle(rule) + (amounts.empty() ? "" : " (" + amounts + ")"),
                             report.status});
                  table.unsafeCell(cell_class, ui::link(target("modify", rule), "Modify"));
                  table.unsafeCell(cell_class, ui::link(target("delete", rule), "Delete"));
                  table.unsafeCell(cell_class, ui::link(target("cancel", rule), "Cancel"));
              });
    cgi_ << "<br>";
    newButton("new", "?", "New Auto-Response", {{"action", "edit"}});
    cgi_ << "<br>";
    const settings::Values values = ui::shownValues(engine_, page_.sections, {});
    ui::Form form(cgi_, engine_.formId());
    form.openForm("post", "settings", target());
    form.hiddenInput("action", "apply");
    ui::Table table(cgi_);
    table.open();
    ui::sectionRows(engine_, table, page_.sections, values);
    table.applyButtonRow("Save Settings");
    table.close();
    ui::fingerprintInput(engine_, form, values);
    form.closeForm();
}

/// A form that opens the page of something new.
void Request::newButton(const std::string &formName, const std::string &action,
                        const std::string &label,
                        const std::vector<std::pair<std::string, std::string>> &fields) {
    ui::Form form(cgi_, engine_.formId());
    form.openForm("get", formName, action);
    for (const auto &[name, value] : fields)
        form.hiddenInput(name, value);
    cgi_ << "<input type=\"submit\" class=\"formbtn\" value=\"" + label + "\">";
    form.closeForm();
}

/// A form about a rule: every submission carries which one, and what it was opened as.
void Request::openForm(ui::Form &form, const char *formName, const std::string &command,
                       unsigned rule, bool submitted) {
    form.openForm("post", formName, target());
    form.hiddenInput("action", command);
    form.hiddenInput("index", std::to_string(rule));
    // A submission that was refused goes on being about what it was opened as.
    form.hiddenInput(opened_field,
                     submitted ? posted(opened_field) : records_.hashOf(config_, rule));
}

/// A question, a button that submits the command, and a way back.
void Request::renderQuestion() {
    const std::string rule = ruleName(index_);
    std::string question = "Cancel what '" + rule +
                           "' is doing? Actions that wait are not run, and its status returns to "
                           "normal.";
    if (list_ != nullptr) {
        const std::string action = actionsOf(index_, *list_).keyOf(action_);
        const std::string type = config_.getElement(action + list_->variantKey);
        question = "Delete the action '" +
                   config_.getElement(concat({action, ".", type, ".name"})) + "' of '" + rule +
                   "'?";
    } else if (name_ == "delete") {
        question = rules_.question;
        question.replace(question.find("{}"), 2, rule);
    }
    ui::Form form(cgi_, engine_.formId());
    openForm(form, "confirm", name_, index_, false);
    if (list_ != nullptr) {
        form.hiddenInput("list", word_);
        form.hiddenInput("modify_index", std::to_string(action_));
    }
    ui::Table table(cgi_);
    table.open();
    table.textRow(question);
    table.applyButtonRow(name_ == "delete" ? "Delete" : "Cancel Auto-Response");
    table.close();
    form.closeForm();
    cgi_ << "<p>" + ui::link(list_ == nullptr ? target() : target("modify", index_), "Back") +
                "</p>";
}

void Request::renderTimes(ui::Table &table, const settings::Section &times,
                          settings::Values values) {
    static constexpr const char *between[] = {"</td><td>", " : ", " to ", " : "};
    values.add(times.fields);
    std::string html = "<table class=\"times\">";
    for (std::size_t at = 0; at < values.all().size(); ++at) {
        const settings::Value &value = values.all()[at];
        const std::string label = value.field->label;
        if (at % 4 == 0)
            html += "<tr><td>" + label.substr(0, label.find(' '));
        html += between[at % 4] + ui::settingInput(engine_, value);
        html += at % 4 == 3 ? "</td></tr>" : "";
    }
    table.inputRow(times.title, html + "</table>",
                   "Hour and minute, 0:00 to 23:59. A day left empty is active all day.");
}

void Request::renderRule(unsigned rule, bool submitted) {
    const settings::Place place = rulePlace(rule);
    const settings::Values values = valuesAt(place, submitted);
    ui::Form form(cgi_, engine_.formId());
    openForm(form, "autoresponse", "apply", rule, submitted);
    ui::Table table(cgi_);
    table.open();
    table.titleRow(rule == 0 ? "New Auto-Response" : ruleName(rule));
    ui::fieldRows(engine_, table, rules_.sections[0].fields, values);
    renderTimes(table, rules_.sections[1], values);
    table.titleRow("Check");
    const std::string typeField = place.names + rules_.variantKey;
    ui::variantRow(engine_, table, rules_.variants,
                   {.menu = "check",
                    .name = typeField,
                    .chosen = submitted ? posted(typeField)
                                        : config_.getElement(place.keys + rules_.variantKey),
                    .none = "Add a new check by selecting a check type from the left menu"},
                   values);
    table.applyButtonRow("Save Auto-Response");
    table.close();
    form.closeForm();
}

void Request::renderEdit() {
    const bool isApplied = changes_ && name_ == "apply";
    const bool submitted = isApplied && (select_ || cgi_.hasErrors());
    const bool isMade = index_ == 0 && isApplied && !submitted; // just now
    const unsigned rule = isMade ? records_.next(config_) - 1 : index_;
    cgi_ << "<script type=\"text/javascript\" src=\"" +
                ui::resourcePath("/scripts/autoresponse.js") + "\"></script>";
    renderRule(rule, submitted);
    cgi_ << "<br>";
    if (config_.getElement(records_.keyOf(rule) + rules_.variantKey).empty()) {
        ui::Table table(cgi_);
        table.open();
        table.titleRow("Actions");
        table.textRow("Please select a check type and save the Auto-Response "
                      "before attempting to add actions");
        table.close();
    } else {
        for (const settings::List &list : rules_.lists)
            renderActions(rule, list);
    }
    cgi_ << "<p>" + ui::link(target(), "All Auto-Responses") + "</p>";
}

/// True when the page is to show an action's panel: it was asked for, or what was typed in it was
/// refused.
bool Request::wantsPanel(const settings::List &list) {
    if (list_ != &list || (changes_ && !select_ && !cgi_.hasErrors()))
        return false;
    return isNewAction() ||
           (name_ != "delete" && actionsOf(index_, list).contains(config_, action_));
}

void Request::renderActions(unsigned rule, const settings::List &list) {
    const settings::RecordList actions = actionsOf(rule, list);
    const auto numbers = actions.checkedNumbers(config_);
    const std::string word = std::string(list.key).substr(1, std::string(list.key).find('_') - 1);
    ui::Table table(cgi_);
    table.open();
    table.titleRow(list.title);
    if (numbers.empty())
        table.textRow(list.empty);
    else
        headingRow(table, {"Delay Time", "Action Name", "Action Type", "Modify", "Delete"});
    for (const unsigned number : numbers) {
        const std::string key = actions.keyOf(number);
        const std::string type = config_.getElement(key + list.variantKey);
        const std::string delay = config_.getElement(concat({key, ".", type, ".delay_time"}));
        const std::string rest = "&modify_index=" + std::to_string(number);
        table.openRow();
        textCells(table, cell_class,
                  {(delay.empty() ? "0" : delay) + " s",
                   config_.getElement(concat({key, ".", type, ".name"})),
                   titleOf(settings::findVariant(list.variants, type), type)});
        table.unsafeCell(cell_class, ui::link(target(word, rule, rest + "#" + panel_id), "Modify"));
        table.unsafeCell(cell_class,
                         ui::link(target("delete", rule, "&list=" + word + rest), "Delete"));
        table.closeRow();
    }
    table.close();
    cgi_ << "<br>";
    if (wantsPanel(list))
        renderPanel(list);
    else
        newButton(word, std::string("?#") + panel_id, std::string("New ") + list.singular,
                  {{"action", word + "_new"}, {"index", std::to_string(rule)}});
    cgi_ << "<br>";
}

void Request::renderPanel(const settings::List &list) {
    const settings::Place place = actionPlace();
    const settings::Values values = valuesAt(place, changes_);
    // The link of an action says which one, its type is stored.
    const std::string type = isNewAction() || changes_
                                 ? posted(typeField())
                                 : config_.getElement(place.keys + list.variantKey);
    const settings::Variant *known = settings::findVariant(list.variants, type);
    cgi_ << ui::openDiv(panel_id, "", true) << ui::closeDiv();
    ui::Form form(cgi_, engine_.formId());
    openForm(form, "action", word_ + (isNewAction() ? "_new" : "_save"), index_, changes_);
    ui::Table table(cgi_);
    table.open();
    if (isNewAction()) {
        table.titleRow(std::string("New ") + list.singular);
        ui::variantRow(engine_, table, list.variants,
                       {.menu = "action",
                        .name = typeField(),
                        .chosen = type,
                        .none = "Select an action type from the left menu"},
                       values);
    } else {
        table.titleRow(titleOf(known, "Action"));
        form.hiddenInput("modify_index", std::to_string(action_));
        form.hiddenInput(typeField(), type);
        if (known != nullptr)
            ui::fieldRows(engine_, table, known->fields, values);
        else
            table.textRow("Unknown Action Type");
    }
    const settings::RecordList actions = actionsOf(index_, list);
    const auto last = actions.numbers(config_).size() + (isNewAction() ? 1 : 0);
    const auto shown = isNewAction() ? last : actions.rankOf(config_, action_);
    const std::string position = place.names + ".position";
    const auto wanted = changes_ ? cgi_.getVarNumber(position) : 0;
    table.menuInputNumRangeRow("Position", position, 1, static_cast<int>(last),
                               wanted > 0 ? wanted : static_cast<int>(shown),
                               "Actions are started in this order, each after its own delay.");
    table.applyButtonRow("Save Action");
    table.close();
    form.closeForm();
}

} // namespace zandorin::autoresponse
