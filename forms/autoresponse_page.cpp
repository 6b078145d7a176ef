#include "forms/autoresponse_page.h"

#include "engine/formlet.h"
#include "platform/libzandorin/serial_ports.h"
#include "settings/devices.h"
#include "settings/variants.h"
#include "ui/settings_page.h"
#include "util/escape.h"
#include "util/log.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin::autoresponse {

namespace {

constexpr const char *no_such_action = "There is no such action any more. Nothing was changed.";

unsigned numberIn(const std::string &text) {
    constexpr std::int64_t highest = 1000000; // no list is that long
    const auto number = parseWhole(text);
    return number && *number > 0 && *number <= highest ? static_cast<unsigned>(*number) : 0;
}

} // namespace

Request::Request(Engine &engine, Cgi &cgi)
    : engine_(engine), cgi_(cgi), config_(engine.config()), page_(*ui::settingsPage(engine)),
      rules_(page_.lists.front()), records_(rules_.key, rules_.word), submission_(cgi),
      name_(posted("action")), changes_(cgi.getRequestMethod() == "POST"),
      select_(cgi.varStringExists("select")), hasIndex_(cgi.varStringExists("index")),
      index_(numberIn(posted("index"))), action_(numberIn(posted("modify_index"))) {
    if (name_.empty())
        name_ = "view";
    if (name_.starts_with("trigger") || name_.starts_with("resolve"))
        word_ = name_.substr(0, name_.find('_'));
    else if (name_ == "delete")
        word_ = posted("list");
    for (const settings::List &list : rules_.lists)
        if (list.key == concat({".", word_, "_actions"}))
            list_ = &list;
}

settings::RecordList Request::actionsOf(unsigned rule, const settings::List &list) const {
    return {records_.keyOf(rule) + list.key, list.word};
}

settings::Place Request::rulePlace(unsigned rule) const {
    if (rule == 0)
        return {.names = std::string(rules_.key) + ".new",
                .keys = records_.keyOf(records_.next(config_))};
    return {.names = records_.keyOf(rule), .keys = records_.keyOf(rule)};
}

settings::Place Request::actionPlace() const {
    const settings::RecordList actions = actionsOf(index_, *list_);
    return {.names = word_ + "." + (isNewAction() ? "new" : std::to_string(action_)),
            .keys = actions.keyOf(isNewAction() ? actions.next(config_) : action_)};
}

/// False, with an error and a log record, when the request is about an action that is not there.
bool Request::hasAction() {
    if (list_ == nullptr) {
        logRecord(Priority::error, "Unrecognized prefix: %s", word_.c_str());
    } else {
        const auto numbers = actionsOf(index_, *list_).numbers(config_);
        if (std::binary_search(numbers.begin(), numbers.end(), action_))
            return true;
        logRecord(Priority::error, "Modifying action out of range %d -> %d",
                  static_cast<int>(action_), static_cast<int>(numbers.size()));
    }
    cgi_.addError(no_such_action);
    return false;
}

void Request::checkLink() {
    const bool needsRule = !word_.empty() || name_ == "modify" || name_ == "delete" ||
                           name_ == "cancel" || (name_ == "edit" && index_ != 0);
    if (needsRule && !records_.contains(config_, index_))
        cgi_.addError("There is no such auto-response any more.");
    else if (!word_.empty() && !(list_ != nullptr && isNewAction()))
        hasAction();
}

/// False, with an error, when the rule is not what the submitted page was made from.
bool Request::isFresh() {
    const std::string now = records_.hashOf(config_, index_);
    if (now.empty())
        cgi_.addError("There is no such auto-response any more. Nothing was changed.");
    else if (now != posted(opened_field))
        cgi_.addError("This auto-response was changed after this page was opened. Nothing was "
                      "saved; please open it again from the list.");
    else
        return true;
    return false;
}

/// Only the checks that watch ports take a list of them; any other has one device, in a menu.
void Request::checkDevices(const settings::Variant &check, const settings::Place &place) {
    if (std::any_of(check.fields.begin(), check.fields.end(), [](const settings::Field &field) {
            return field.input == settings::Input::set;
        }))
        return;
    const std::string device = concat({place.names, ".", check.name, ".dev_refs.dev_ref"});
    unsigned devices = 0;
    for (unsigned port = 1; port <= portCount(config_); ++port)
        devices += posted(device + std::to_string(port)).empty() ? 0 : 1;
    if (devices > 1)
        cgi_.addError(concat({"Check type '", check.name, "' is not for multiple devices"}));
}

void Request::saveSettings() {
    settings::Values values(config_, &submission_);
    values.add(page_.sections);
    ui::defineValues(engine_, values, page_.rule);
}

void Request::saveRule() {
    const settings::Place place = rulePlace(index_);
    const std::string name = posted(place.names + rules_.variantKey);
    const settings::Variant *check = settings::findVariant(rules_.variants, name);
    const bool isKept = config_.getElement(place.keys + rules_.variantKey) == name;
    settings::Values values(config_, &submission_, place);
    values.add(rules_.sections);
    if (check == nullptr || !(isKept || settings::isOffered(*check, config_))) {
        cgi_.addError("No Check type selected");
    } else {
        values.add(check->fields);
        checkDevices(*check, place);
        engine_.onSaved([&config = config_, key = place.keys, &list = rules_, check] {
            config.setElement(key + list.variantKey, check->name);
            settings::clearVariants(config, list.variants, check->name, key);
            list.derive(config, key);
            settings::RecordList(list.key, list.word).settle(config);
        });
    }
    ui::defineValues(engine_, values, rules_.rule);
}

void Request::saveAction() {
    if ((list_ == nullptr || !isNewAction()) && !hasAction())
        return;
    const settings::Variant *type = settings::findVariant(list_->variants, posted(typeField()));
    if (type == nullptr) {
        cgi_.addError("Unknown Action Type");
        return;
    }
    const settings::Place place = actionPlace();
    const std::string typeKey = place.keys + list_->variantKey;
    engine_.onAccepted([&config = config_, place, typeKey, type] {
        if (config.getElement(typeKey) != type->name)
            config.delElement(place.keys);
    });
    settings::Values values(config_, &submission_, place);
    values.add(type->fields);
    ui::defineValues(engine_, values, list_->rule);
    const std::string position = place.names + ".position";
    engine_.addElement(position, FormElem("Position", "numeric", false, false));
    engine_.onSaved([&config = config_, actions = actionsOf(index_, *list_), typeKey, type,
                     number = isNewAction() ? 0 : action_, wanted = numberIn(posted(position))] {
        config.setElement(typeKey, type->name);
        const unsigned saved = number == 0 ? actions.next(config) - 1 : number;
        const unsigned rank = actions.rankOf(config, saved);
        actions.settle(config);
        actions.move(config, rank, wanted);
    });
}

void Request::carryOut() {
    if (!changes_) {
        checkLink();
        return;
    }
    if (select_)
        return;
    engine_.setForceSubmit(true);
    if (!engine_.lockSettings())
        return;
    settings::moveOutlets(config_);
    if (name_ == "apply" && index_ == 0) {
        if (hasIndex_)
            saveRule();
        else
            saveSettings();
    } else if (!isFresh()) {
        return;
    } else if (name_ == "apply") {
        saveRule();
    } else if (isNewAction() || name_.ends_with("_save")) {
        saveAction();
    } else if (name_ == "delete" && word_.empty()) {
        records_.remove(config_, index_);
    } else if (name_ == "delete" && hasAction()) {
        actionsOf(index_, *list_).remove(config_, action_);
    } else if (name_ == "cancel") {
        // The service watches the configuration and takes the command out of it.
        const std::string name = config_.getElement(records_.keyOf(index_) + ".name");
        config_.setElement("config.autoresponse.command", "cancel " + name);
        cgi_.addMessage("The auto-response service is told to cancel '<i>" + encodeSafe(name) +
                        "</i>'.");
    }
}

void Request::render() {
    if (engine_.formArgs() == "status")
        return renderStatus();
    settings::moveOutlets(config_);
    const bool isThere = records_.contains(config_, index_);
    const bool isNew = name_ == "edit" && index_ == 0;
    const bool isApplied = name_ == "apply" && changes_ && hasIndex_;
    const bool isQuestion = (name_ == "delete" || name_ == "cancel") && isThere && !changes_ &&
                            (word_.empty() || !cgi_.hasErrors());
    const bool isEdited = isThere && (name_ == "edit" || name_ == "modify" || !word_.empty());
    if (isQuestion)
        renderQuestion();
    else if (isNew || isApplied || isEdited)
        renderEdit();
    else
        renderList();
}

namespace {

template <void (Request::*member)()> void callback(Engine &engine) {
    ZANDORIN_TRACE();
    if (engine.cgi() == nullptr)
        logRecord(Priority::fatal, "CGI is not initialised");
    else
        (Request(engine, *engine.cgi()).*member)();
}

const AutoRegisterFormlet registration("autoresponse", callback<&Request::carryOut>,
                                       callback<&Request::render>);

} // namespace
} // namespace zandorin::autoresponse
