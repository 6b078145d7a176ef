#pragma once

#include <string>

namespace zandorin {
class Cgi;
}

namespace zandorin::ui {

/// The HTML form of a page body: writes its tags to the page and sees to it that only one is open.
/// Misuse is reported as an error of the request and writes nothing. Parameters are escaped; an
/// empty action or enctype is left out.
class Form {
  public:
    /// `formId` is what a submission of the form names itself in its field "form". `cgi` must
    /// outlive the object.
    Form(Cgi &cgi, std::string formId);

    void openForm(const std::string &method, const std::string &name,
                  const std::string &action = "", const std::string &enctype = "");
    void closeForm();
    void hiddenInput(const std::string &name, const std::string &value, const std::string &id = "");

  private:
    Cgi &cgi_;
    std::string formId_;
    bool open_ = false;
};

} // namespace zandorin::ui
