#include "ui/form.h"

#include "cgi/cgi.h"
#include "ui/markup.h"
#include "util/escape.h"
#include "util/log.h"

namespace zandorin::ui {

Form::Form(Cgi &cgi, std::string formId) : cgi_(cgi), formId_(std::move(formId)) {}

void Form::openForm(const std::string &method, const std::string &name, const std::string &action,
                    const std::string &enctype) {
    ZANDORIN_TRACE();
    if (open_) {
        cgi_.addError("openForm() called in an already open form.");
        return;
    }
    cgi_ << "<form" + attribute("method", method) + attribute("name", name) +
                optionalAttribute("action", action) + optionalAttribute("enctype", enctype) + ">";
    open_ = true;
}

void Form::closeForm() {
    ZANDORIN_TRACE();
    if (!open_) {
        cgi_.addError("closeForm() called outside of open form.");
        return;
    }
    cgi_ << "<input name=\"form\" value=\"" + encodeSafe(formId_) + "\" type=\"hidden\"/></form>";
    open_ = false;
}

void Form::hiddenInput(const std::string &name, const std::string &value, const std::string &id) {
    ZANDORIN_TRACE();
    if (!open_) {
        cgi_.addError("setHiddenInput called outside of open form.");
        return;
    }
    cgi_ << "<input" + attribute("name", name) + optionalAttribute("id", id) + " value=\"" +
                encodeSafe(value) + "\" type=\"hidden\"/>";
}

} // namespace zandorin::ui
