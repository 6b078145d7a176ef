#include "forms/rules.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "ui/inputs.h"

namespace zandorin {

std::string Rules::text(const std::string &field) const {
    return engine_.cgi() == nullptr ? "" : engine_.cgi()->getVarString(field).raw;
}

bool Rules::isPasswordGiven(const std::string &key) const {
    const std::string sent = text(key);
    if (sent == ui::password_placeholder)
        return !engine_.config().getElement(key).empty();
    return !sent.empty();
}

bool Rules::isUnsafeGiven(const std::string &key) const {
    return isGiven(key) || (!engine_.config().getElement(key).empty() && !isGiven(key + ".delete"));
}

std::string Rules::label(const std::string &field) const {
    const auto element = engine_.elements().find(field);
    return element == engine_.elements().end() ? field : element->second.label;
}

void Rules::require(bool holds, const std::string &message) {
    if (holds)
        return;
    hold_ = false;
    if (Cgi *cgi = engine_.requireCgi())
        cgi->addError(message);
}

void Rules::requireMatch(const std::string &password, const std::string &confirmation,
                         const std::string &message) {
    require(text(password) == text(confirmation), message);
}

void Rules::requireLength(const std::string &password, std::size_t least,
                          const std::string &message) {
    const std::string sent = text(password);
    require(sent.empty() || sent == ui::password_placeholder || sent.size() >= least, message);
}

} // namespace zandorin
