#include "engine/engine.h"

#include "cgi/cgi.h"
#include "framework/elem_type.h"
#include "framework/formlet.h"
#include "platform/libzandorin/accounts.h"
#include "ui/escape.h"
#include "ui/inputs.h"
#include "util/log.h"

#include <map>
#include <string>
#include <vector>

namespace zandorin {

namespace {

const char *onOff(bool value) {
    return value ? "on" : "off";
}

/// What a submission changes in the store once all of it was accepted.
struct Pending {
    std::vector<std::string> deletes;
    std::map<std::string, std::string> sets;
};

class Validation {
  public:
    Validation(Engine &engine, Cgi &cgi) : engine_(engine), cgi_(cgi) {}

    void check(const std::string &name, const FormElem &element) {
        const CgiValue value = cgi_.getVarString(name, element.bufferSize());
        report(name, element, value);
        if (value.raw.empty()) {
            // The box of an unsafe input; it has no say over what is not saved at all.
            const bool boxed = element.autoSave && !cgi_.getVarString(name + ".delete").raw.empty();
            if (element.autoDelete || boxed)
                pending_.deletes.push_back(name);
            return;
        }
        if (element.type == "password" && value.raw == ui::password_placeholder)
            return;
        if (accepts(element, value))
            queue(name, element, value.raw);
    }

    bool isAccepted(const FormElem &element, const CgiValue &value) {
        return accepts(element, value);
    }

    void save() const {
        for (const std::string &name : pending_.deletes)
            engine_.config().delElement(name);
        for (const auto &[name, value] : pending_.sets)
            engine_.config().setElement(name, value);
    }

  private:
    /// Tells the page, in debug mode, and the log what was submitted.
    void report(const std::string &name, const FormElem &element, const CgiValue &value) {
        const bool masked = isPassword(name, element) && !value.raw.empty();
        if (engine_.debugMode())
            cgi_ << "Form Element: <b>" + encodeSafe(name) + "</b> = '<i>" +
                        (masked ? ui::password_placeholder : value.safe) +
                        "</i>' {<b>type</b>:'<i>" + encodeSafe(element.type) +
                        "</i>', <b>autoSave</b> <i>" + onOff(element.autoSave) +
                        "</i>, </i> <b>autoDelete</b> <i>" + onOff(element.autoDelete) + "</i>}";
        logRecord(Priority::debug, "Form Element: %s = '%s' {type:%s, autoSave:%d autoDelete:%d}",
                  name.c_str(), masked ? ui::password_placeholder : value.raw.c_str(),
                  element.type.c_str(), element.autoSave ? 1 : 0, element.autoDelete ? 1 : 0);
    }

    bool refuseMarkup(const FormElem &element, const CgiValue &value) {
        if (!value.hasMarkup())
            return false;
        const std::string message = "<i>" + element.label + "</i> can not contain markup.";
        logRecord(Priority::error, "%s", message.c_str());
        cgi_.addError(message);
        return true;
    }

    /// Told before anything is put into the store: all of a form is saved, or nothing.
    bool isStorable(const FormElem &element, const std::string &value) {
        if (ConfigManager::canHold(value))
            return true;
        cgi_.addError("<i>" + element.label + "</i> can not contain control characters.");
        return false;
    }

    bool accepts(const FormElem &element, const CgiValue &value) {
        if (element.type == "text")
            return !refuseMarkup(element, value);
        const FormElemType *type = ElemTypeRegistry::find(element.type);
        if (type == nullptr) {
            cgi_.addError("No registered type <i>" + encodeSafe(element.type) + "</i>");
            return false;
        }
        if (type->allowMarkup)
            logRecord(Priority::debug, "Accepting unsafe value: %s", element.label.c_str());
        else if (refuseMarkup(element, value))
            return false;
        if (type->validator(value.raw))
            return isStorable(element, value.raw);
        std::string message =
            "<i>" + element.label + "</i> must be assigned a <i>" + type->description + "</i>.";
        if (element.type != "password")
            message += " The value '<i>" + value.safe + "</i>' is invalid.";
        cgi_.addError(message);
        return false;
    }

    void queue(const std::string &name, const FormElem &element, const std::string &value) {
        if (name == system_password && !engine_.config().hasPlainTextPasswords())
            queuePassword(value);
        else if (element.autoSave)
            pending_.sets[name] = value;
        else
            logRecord(Priority::debug, "Skipping element: %s, autoSave is off", name.c_str());
    }

    void queuePassword(const std::string &password) {
        logRecord(Priority::debug, "Found password: %s", system_password);
        if (password == ui::password_placeholder) {
            logRecord(Priority::info, "System password is unchanged");
            return;
        }
        const bool strongest =
            passwordHashNamed(engine_.config().getElement("config.auth.passwordhash")) ==
            PasswordHash::yescrypt;
        const std::string hash = user_getcryptedpassword(
            password, strongest ? PasswordHash::yescrypt : PasswordHash::sha512);
        if (hash.empty())
            cgi_.addError("The password could not be encrypted and was not saved.");
        else
            pending_.sets[system_password] = hash;
    }

    Engine &engine_;
    Cgi &cgi_;
    Pending pending_;
};

} // namespace

bool Engine::acceptsValue(const FormElem &element, const std::string &value) {
    Cgi *request = requireCgi();
    CgiValue both;
    fillCgiValue(both, value);
    return request != nullptr && Validation(*this, *request).isAccepted(element, both);
}

void Engine::validateForm() {
    ZANDORIN_TRACE();
    if (const FormValidator *validator = FormValidatorRegistry::find(formId_))
        (*validator)(*this);
    Cgi *request = requireCgi();
    if (request == nullptr)
        return;
    Validation validation(*this, *request);
    for (const auto &[name, element] : elements_)
        validation.check(name, element);
    if (formWasSubmitted() && !request->hasErrors())
        validation.save();
}

} // namespace zandorin
