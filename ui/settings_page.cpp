#include "ui/settings_page.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "ui/form.h"
#include "ui/form_values.h"
#include "ui/inputs.h"
#include "ui/table.h"
#include "ui/unsafe_inputs.h"

#include <vector>

namespace zandorin::ui {

namespace {

constexpr int area_rows = 5;
constexpr int area_cols = 60;

bool isUnsafe(const Setting &setting) {
    return setting.input == Input::unsafeText || setting.input == Input::unsafeTextArea;
}

bool declaresElement(const Setting &setting) {
    return setting.input != Input::confirmation && setting.input != Input::custom;
}

std::vector<Option> options(const Setting &setting) {
    std::vector<Option> result;
    for (const Choice &choice : setting.choices)
        result.emplace_back(std::string(choice.value), std::string(choice.label));
    return result;
}

std::string passwordInput(Engine &engine, const Setting &setting, const char *storedKey) {
    return textInput({.name = setting.key,
                      .value = engine.config().getElement(storedKey),
                      .type = "password",
                      .maxlength = setting.maxlength,
                      .allowAutocomplete = false});
}

UnsafeInput unsafeInput(Engine &engine, const Setting &setting) {
    UnsafeInput input{.name = setting.key,
                      .current = engine.config().getElement(setting.key),
                      .maxlength = setting.maxlength};
    if (showsSubmission(engine))
        input.submitted = shownValue(engine, setting.key, setting.maxlength);
    return input;
}

std::string inputMarkup(Engine &engine, const Setting &setting) {
    const auto shown = [&] { return shownValue(engine, setting.key, setting.maxlength); };
    switch (setting.input) {
    case Input::text:
        return textInput({.name = setting.key, .value = shown(), .maxlength = setting.maxlength});
    case Input::password:
        return passwordInput(engine, setting, setting.key);
    case Input::confirmation:
        return passwordInput(engine, setting, setting.confirms);
    case Input::textArea:
        return textAreaInput(setting.key, shown(), area_rows, area_cols);
    case Input::unsafeText:
        return unsafeTextInput(unsafeInput(engine, setting));
    case Input::unsafeTextArea:
        return unsafeTextAreaInput(unsafeInput(engine, setting), area_rows, area_cols);
    case Input::check:
        return checkInput(setting.key, shownChecked(engine, setting.key));
    case Input::menu:
        return menuInput(setting.key, options(setting), shown());
    case Input::radio:
        return radioInput(setting.key, options(setting), shown());
    case Input::custom:
        return setting.custom(engine);
    }
    return "";
}

} // namespace

void defineSettings(Engine &engine, std::span<const Section> sections) {
    for (const Section &section : sections)
        for (const Setting &setting : section.settings)
            if (declaresElement(setting)) {
                const int buffer = setting.maxlength < 1 ? 0 : setting.maxlength + 1;
                engine.addElement(setting.key, FormElem(setting.label, setting.type, true,
                                                        !isUnsafe(setting), buffer));
            }
}

void renderSettings(Engine &engine, std::span<const Section> sections) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    Form form(*cgi, engine.formId());
    form.openForm("post", engine.formId());
    Table table(*cgi);
    table.open();
    for (const Section &section : sections) {
        table.titleRow(section.title);
        for (const Setting &setting : section.settings)
            table.inputRow(setting.label, inputMarkup(engine, setting), setting.help);
    }
    table.applyButtonRow();
    table.close();
    form.closeForm();
}

} // namespace zandorin::ui
