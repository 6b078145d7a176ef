#include "settings/form_check.h"

#include "platform/accounts/accounts.h"
#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/config_text.h"
#include "settings/values.h"
#include "types/elem_type.h"
#include "util/escape.h"
#include "util/log.h"

#include <algorithm>

namespace zandorin::settings {

namespace {

std::string labelled(const FormElem &element) {
    return "<i>" + element.label + "</i>";
}

bool refusesMarkup(const FormElem &element, const std::string &name, const std::string &value,
                   Problems &problems) {
    if (encodeSafe(value) == value)
        return false;
    const std::string message = labelled(element) + " can not contain markup.";
    logRecord(Priority::error, "%s", message.c_str());
    problems.add(name, message);
    return true;
}

} // namespace

FormElem elementOf(const Value &value, const char *label, bool save) {
    const Field &field = *value.field;
    FormElem element(label, field.type.name(), save, save && !isUnsafe(field),
                     field.maxlength < 1 ? 0 : field.maxlength + 1);
    if (value.key != value.name)
        element.key = value.key;
    const auto isNone = [](const Option &option) { return option.value.empty(); };
    if (!value.options.empty() && field.input == Input::menu &&
        std::none_of(value.options.begin(), value.options.end(), isNone))
        element.standard = value.options.front().value;
    return element;
}

bool acceptsType(const FormElem &element, const std::string &name, const std::string &value,
                 Problems &problems) {
    if (element.type == "text")
        return !refusesMarkup(element, name, value, problems);
    const FormElemType *type = ElemTypeRegistry::find(element.type);
    if (type == nullptr) {
        problems.add(name, "No registered type <i>" + encodeSafe(element.type) + "</i>");
        return false;
    }
    if (type->allowMarkup)
        logRecord(Priority::debug, "Accepting unsafe value: %s", element.label.c_str());
    else if (refusesMarkup(element, name, value, problems))
        return false;
    if (type->validator(value)) {
        // Said before anything is put into the store: all of a form is saved, or nothing.
        problems.require(ConfigManager::canHold(value), name,
                         labelled(element) + " can not contain control characters.");
        return ConfigManager::canHold(value);
    }
    problems.add(name, labelled(element) + " must be assigned a <i>" + type->description + "</i>." +
                           (element.type == "password"
                                ? ""
                                : " The value '<i>" + encodeSafe(value) + "</i>' is invalid."));
    return false;
}

std::string shownValue(const FormElem &element, const std::string &stored) {
    if (element.type == "boolean")
        return platform::isTrue(stored) ? "on" : "";
    return stored.empty() ? element.standard : stored;
}

std::string FormCheck::submitted(const std::string &name, const FormElem &element) const {
    if (element.given)
        return *element.given;
    const auto text = submission_.text(name, element.bufferSize());
    return text || submission_.isWhole() ? text.value_or("")
                                         : config_.getElement(element.keyAs(name));
}

/// Of an empty input without a delete box nothing is known: it may have been emptied.
bool FormCheck::isUntouched(const std::string &name, const FormElem &element,
                            const std::string &value, bool boxed) const {
    if (!fingerprint_.isKnown() || boxed)
        return false;
    return fingerprint_.holds(name, value, element.isSecret(element.keyAs(name)));
}

bool FormCheck::isConflict(const std::string &name, const FormElem &element,
                           const std::string &value) const {
    const std::string key = element.keyAs(name);
    const std::string stored = shownValue(element, config_.getElement(key));
    return fingerprint_.isKnown() && element.autoSave && stored != value &&
           !fingerprint_.holds(name, stored, element.isSecret(key));
}

void FormCheck::check(const std::string &name, const FormElem &element, const std::string &value) {
    const std::string key = element.keyAs(name);
    // The box of an unsafe input; it has no say over what is not saved at all.
    const bool boxed = value.empty() && element.autoSave &&
                       !submission_.text(name + ".delete", 2).value_or("").empty();
    if (element.type == "password" && value == password_placeholder)
        return;
    if (!value.empty() && !acceptsType(element, name, value, problems_))
        return;
    const bool changes = !value.empty() || element.autoDelete || boxed;
    if (!changes || isUntouched(name, element, value, boxed))
        return;
    if (isConflict(name, element, value)) {
        const bool isShown = !element.isSecret(key);
        problems_.add(name,
                      changedMeanwhile(element.label,
                                       isShown ? ": '<i>" + encodeSafe(config_.getElement(key)) +
                                                     "</i>' is stored now, '<i>" +
                                                     encodeSafe(value) + "</i>' was to be saved"
                                               : ""));
        return;
    }
    if (value.empty())
        deletes_.push_back(key);
    else
        note(key, element, value);
}

void FormCheck::note(const std::string &key, const FormElem &element, const std::string &value) {
    if (key == system_password && !config_.hasPlainTextPasswords())
        notePassword(value);
    else if (element.autoSave)
        sets_[key] = value;
    else
        logRecord(Priority::debug, "Skipping element: %s, autoSave is off", key.c_str());
}

void FormCheck::notePassword(const std::string &password) {
    logRecord(Priority::debug, "Found password: %s", system_password);
    if (password == password_placeholder) {
        logRecord(Priority::info, "System password is unchanged");
        return;
    }
    const bool strongest =
        passwordHashNamed(config_.getElement("config.auth.passwordhash")) == PasswordHash::yescrypt;
    const std::string hash = user_getcryptedpassword(password, strongest ? PasswordHash::yescrypt
                                                                         : PasswordHash::sha512);
    if (hash.empty())
        problems_.add(system_password, "The password could not be encrypted and was not saved.");
    else
        sets_[system_password] = hash;
}

std::vector<std::pair<std::string, std::string>> FormCheck::changes() const {
    std::vector<std::pair<std::string, std::string>> changes;
    for (const std::string &key : deletes_)
        changes.emplace_back(key, "");
    changes.insert(changes.end(), sets_.begin(), sets_.end());
    return changes;
}

void FormCheck::save(ConfigManager &config) const {
    for (const std::string &key : deletes_)
        config.delElement(key);
    for (const auto &[key, value] : sets_)
        config.setElement(key, value);
}

} // namespace zandorin::settings
