#include "ui/settings_page.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "ui/form.h"
#include "ui/form_values.h"
#include "ui/inputs.h"
#include "ui/table.h"
#include "ui/unsafe_inputs.h"

#include <algorithm>
#include <vector>

namespace zandorin::ui {

namespace {

constexpr int area_rows = 5;
constexpr int area_cols = 60;

bool isUnsafe(const Setting &setting) {
    return setting.input == Input::unsafeText || setting.input == Input::unsafeSecret ||
           setting.input == Input::unsafeTextArea;
}

bool declaresElement(const Setting &setting) {
    return setting.input != Input::confirmation && setting.input != Input::custom;
}

bool isChoice(const Setting &setting, const std::string &value) {
    return std::any_of(setting.choices.begin(), setting.choices.end(),
                       [&](const Choice &choice) { return value == choice.value; });
}

std::string fullKey(const char *key, const std::string &prefix) {
    return key[0] == '.' ? prefix + key : key;
}

void refuseOtherChoices(Engine &engine, const Setting &setting, const std::string &key) {
    Cgi *cgi = engine.cgi();
    if (cgi == nullptr || setting.choices.empty())
        return;
    const CgiValue value = cgi->getVarString(key);
    if (value.raw.empty() || isChoice(setting, value.raw) ||
        value.raw == engine.config().getElement(key))
        return;
    cgi->addError("<i>" + std::string(setting.label) +
                  "</i> must be one of the choices. The value '<i>" + value.safe +
                  "</i>' is invalid.");
}

/// One setting of the page that the request is for.
class Row {
  public:
    Row(Engine &engine, const Setting &setting, const std::string &prefix)
        : engine_(engine), setting_(setting), prefix_(prefix), key_(fullKey(setting.key, prefix)) {}

    std::string markup() const {
        return (setting_.markup == nullptr ? "" : setting_.markup(engine_)) + input();
    }

  private:
    std::string shown() const { return shownValue(engine_, key_, setting_.maxlength); }

    /// What is stored and no choice, another tool's word for instance, stays offered.
    std::vector<Option> options(const std::string &selected) const {
        std::vector<Option> result;
        for (const Choice &choice : setting_.choices)
            result.emplace_back(std::string(choice.value), std::string(choice.label));
        if (!selected.empty() && !isChoice(setting_, selected))
            result.emplace_back(selected);
        return result;
    }

    std::string passwordInput(const std::string &storedKey) const {
        return textInput({.name = key_,
                          .value = engine_.config().getElement(storedKey),
                          .type = "password",
                          .maxlength = setting_.maxlength,
                          .allowAutocomplete = false});
    }

    UnsafeInput unsafeInput() const {
        UnsafeInput input{.name = key_,
                          .current = engine_.config().getElement(key_),
                          .maxlength = setting_.maxlength,
                          .secret = setting_.input == Input::unsafeSecret};
        if (showsSubmission(engine_))
            input.submitted = shown();
        return input;
    }

    std::string choiceInput(decltype(menuInput) &markupOf) const {
        const std::string selected = shown();
        return markupOf(key_, options(selected), selected, "");
    }

    std::string input() const {
        switch (setting_.input) {
        case Input::text:
            return textInput({.name = key_, .value = shown(), .maxlength = setting_.maxlength});
        case Input::password:
            return passwordInput(key_);
        case Input::confirmation:
            return passwordInput(fullKey(setting_.confirms, prefix_));
        case Input::textArea:
            return textAreaInput(key_, shown(), area_rows, area_cols);
        case Input::unsafeText:
        case Input::unsafeSecret:
            return unsafeTextInput(unsafeInput());
        case Input::unsafeTextArea:
            return unsafeTextAreaInput(unsafeInput(), area_rows, area_cols);
        case Input::check:
            return checkInput(key_, shownChecked(engine_, key_));
        case Input::menu:
            return choiceInput(menuInput);
        case Input::radio:
            return choiceInput(radioInput);
        case Input::custom:
            break;
        }
        return "";
    }

    Engine &engine_;
    const Setting &setting_;
    const std::string &prefix_;
    std::string key_;
};

void defineSetting(Engine &engine, const Setting &setting, const std::string &key) {
    const int buffer = setting.maxlength < 1 ? 0 : setting.maxlength + 1;
    engine.addElement(key, FormElem(setting.label, setting.type, true, !isUnsafe(setting), buffer));
    refuseOtherChoices(engine, setting, key);
}

} // namespace

void defineSettings(Engine &engine, const SettingsTable &table, const std::string &prefix) {
    table.forEach(
        engine, [](const char *) {},
        [&](const Setting &setting) {
            if (declaresElement(setting))
                defineSetting(engine, setting, fullKey(setting.key, prefix));
        });
}

void renderSettings(Engine &engine, const SettingsTable &settings, const std::string &prefix) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    Form form(*cgi, engine.formId());
    form.openForm("post", engine.formId());
    Table table(*cgi);
    table.open();
    settings.forEach(
        engine, [&](const char *title) { table.titleRow(title); },
        [&](const Setting &setting) {
            table.inputRow(setting.label, Row(engine, setting, prefix).markup(), setting.help);
        });
    table.applyButtonRow();
    table.close();
    form.closeForm();
}

} // namespace zandorin::ui
