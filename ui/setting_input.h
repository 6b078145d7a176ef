#pragma once

#include "settings/values.h"

#include <string>

namespace zandorin {
class Engine;
}

namespace zandorin::ui {

/// The markup of a setting's input: what `status` answers, then the input with the value's text, or
/// what is stored of it where the page shows no submission.
std::string settingInput(Engine &engine, const settings::Value &value);

/// Of a list of texts: the name of the input for the entry of that number.
std::string textName(const settings::Value &value, std::size_t number);

/// A box with its text, raw, which shows `title` when it is pointed at; one of several.
std::string labelledBox(const std::string &name, bool checked, const std::string &text,
                        const std::string &title = "", bool fixed = false);

} // namespace zandorin::ui
