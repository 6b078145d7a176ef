#pragma once

#include "util/registry.h"

#include <string>
#include <string_view>

namespace zandorin {

class Engine;

// Every unit that registers something shares these names with the configurators.
constexpr std::string_view network_connection_any_up = "network-connection-any-up";
constexpr std::string_view network_connection_any6_up = "network-connection-any6-up";
constexpr std::string_view restart_on_change = "restart-on-change";

using FormCallback = void (*)(Engine &);

/// A form written in code.
struct Formlet {
    FormCallback define = nullptr; ///< declares the elements and does the page's own work
    FormCallback render = nullptr; ///< writes the page's body
};

using FormletRegistry = Registry<Formlet>;

/// Checks a submission as a whole and adds an error to the request for each rule that fails.
/// What it answers does not stop the pass; the errors do.
using FormValidator = bool (*)(Engine &);
using FormValidatorRegistry = Registry<FormValidator>;

/// A dashboard panel. The registry only stores it; the dashboard gives the callbacks their roles.
struct Widget {
    std::string title;
    FormCallback first = nullptr;
    FormCallback second = nullptr;
    unsigned long word = 0;
    FormCallback third = nullptr;
};

using WidgetRegistry = Registry<Widget>;

/// Registers a formlet under its page id; a static object in the form's own source file.
class AutoRegisterFormlet {
  public:
    AutoRegisterFormlet(const char *name, FormCallback define, FormCallback render);
};

/// Registers a validator for the submissions of a form id.
class AutoRegisterFormValidator {
  public:
    AutoRegisterFormValidator(const char *formId, FormValidator validator);
};

/// Registers a dashboard panel.
class AutoRegisterWidget {
  public:
    AutoRegisterWidget(const char *id, const char *title, FormCallback first, FormCallback second,
                       unsigned long word, FormCallback third);
};

} // namespace zandorin
