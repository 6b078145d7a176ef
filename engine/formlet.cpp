#include "engine/formlet.h"

namespace zandorin {

AutoRegisterFormlet::AutoRegisterFormlet(const char *name, FormCallback define,
                                         FormCallback render) {
    FormletRegistry::add(name, Formlet{define, render});
}

AutoRegisterFormValidator::AutoRegisterFormValidator(const char *formId, FormValidator validator) {
    FormValidatorRegistry::add(formId, validator);
}

AutoRegisterWidget::AutoRegisterWidget(const char *id, const char *title, FormCallback first,
                                       FormCallback second, unsigned long word,
                                       FormCallback third) {
    WidgetRegistry::add(id, Widget{title, first, second, word, third});
}

} // namespace zandorin
