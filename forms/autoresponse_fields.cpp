#include "forms/autoresponse_fields.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "forms/autoresponse_records.h"
#include "platform/libzandorin/serial_ports.h"
#include "ui/unsafe_inputs.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin::autoresponse {

namespace {

constexpr int area_rows = 4;
constexpr int area_cols = 50;
constexpr std::int64_t largest_number = 2147483647; ///< what a 32-bit service can count

std::size_t bufferOf(int maxlength) {
    return maxlength < 1 ? 256 : static_cast<std::size_t>(maxlength) + 1;
}

std::string posted(const Cgi &cgi, const std::string &name, int maxlength = 0) {
    return cgi.getVarString(name, bufferOf(maxlength)).raw;
}

bool isUnsafe(const Field &field) {
    return field.input == Input::unsafeText || field.input == Input::unsafeArea;
}

std::string numbered(std::string_view prefix, std::string_view list, std::size_t number) {
    return concat({prefix, list, std::to_string(number)});
}

/// The stored list with what the form says about it: an empty input keeps its entry, a box deletes
/// it, a new value wins over both.
std::vector<std::string> submittedArguments(const ConfigManager &config, const Cgi &cgi,
                                            const Field &field, const Place &place) {
    std::vector<std::string> arguments;
    const auto stored = readValues(config, place.keys + field.list);
    for (std::size_t i = 0; i < stored.size(); ++i) {
        const std::string name = numbered(place.fields, field.list, i + 1);
        if (const std::string value = posted(cgi, name); !value.empty())
            arguments.push_back(value);
        else if (posted(cgi, name + ".delete").empty())
            arguments.push_back(stored[i]);
    }
    if (const std::string added = posted(cgi, place.fields + field.key); !added.empty())
        arguments.push_back(added);
    return arguments;
}

std::vector<std::string> submittedPorts(const ConfigManager &config, const Cgi &cgi,
                                        const Field &field, const Place &place) {
    std::vector<std::string> ports;
    for (unsigned number = 1; number <= portCount(config); ++number)
        if (!posted(cgi, numbered(place.fields, field.list, number)).empty())
            ports.push_back(portReference(number));
    return ports;
}

void checkMenu(Engine &engine, Cgi &cgi, const Field &field, const Place &place) {
    const CgiValue value = cgi.getVarString(place.fields + field.key);
    if (value.raw.empty() || value.raw == engine.config().getElement(place.keys + field.key))
        return;
    const auto options = optionsOf(engine.config(), field.menu);
    if (std::none_of(options.begin(), options.end(),
                     [&](const ui::Option &option) { return option.value == value.raw; }))
        cgi.addError(std::string("<i>") + field.label + "</i>: '<i>" + value.safe +
                     "</i>' is not among the choices.");
}

void checkNumber(Cgi &cgi, const Field &field, const Place &place) {
    const std::string text = posted(cgi, place.fields + field.key, field.maxlength);
    const bool isDigits = text.find_first_not_of("-0123456789") == std::string::npos;
    const auto number = parseWhole(text);
    if (text.empty() || !isDigits) // any other text was refused already
        return;
    if (!number || *number > largest_number || *number < -largest_number)
        cgi.addError(std::string("<i>") + field.label + "</i> may be at most " +
                     std::to_string(largest_number) + ".");
}

void storeText(ConfigManager &config, const Cgi &cgi, const Field &field, const Place &place) {
    const std::string name = place.fields + field.key;
    const std::string value = posted(cgi, name, field.maxlength);
    if (!value.empty())
        config.setElement(place.keys + field.key, value);
    else if (!isUnsafe(field) || !posted(cgi, name + ".delete").empty())
        config.delElement(place.keys + field.key);
}

std::string menuMarkup(Engine &engine, Cgi &cgi, const Field &field, const Place &place) {
    const std::string shown = shownText(engine, cgi, field.key, place);
    std::vector<ui::Option> options = optionsOf(engine.config(), field.menu);
    options.insert(options.begin(), ui::Option("", "- Select -"));
    // What is no choice any more, such as a device that was removed, is not lost by a save.
    if (std::none_of(options.begin(), options.end(),
                     [&](const ui::Option &option) { return option.value == shown; }))
        options.emplace_back(shown, shown + " (not present)");
    return ui::menuInput(place.fields + field.key, options, shown);
}

std::string portsMarkup(Engine &engine, Cgi &cgi, const Field &field, const Place &place) {
    const ConfigManager &config = engine.config();
    const auto watched = place.submitted ? submittedPorts(config, cgi, field, place)
                                         : readValues(config, place.keys + field.list);
    std::vector<ui::PortChoice> ports;
    for (unsigned number = 1; number <= portCount(config); ++number)
        ports.push_back({.number = number,
                         .label = portLabel(config, number),
                         .checked = std::find(watched.begin(), watched.end(),
                                              portReference(number)) != watched.end()});
    return ui::getPortCheckboxes(place.fields + field.list, ports);
}

ui::UnsafeInput unsafeInput(Engine &engine, Cgi &cgi, const std::string &key, const Place &place,
                            int maxlength) {
    ui::UnsafeInput input{.name = place.fields + key,
                          .current = engine.config().getElement(place.keys + key),
                          .maxlength = maxlength};
    if (place.submitted)
        input.submitted = posted(cgi, input.name, maxlength);
    input.offerDelete = !input.current.empty();
    return input;
}

std::string argumentsMarkup(Engine &engine, Cgi &cgi, const Field &field, const Place &place) {
    std::string html;
    const std::size_t count = readValues(engine.config(), place.keys + field.list).size();
    for (std::size_t number = 1; number <= count; ++number)
        html += ui::unsafeTextInput(
            unsafeInput(engine, cgi, numbered("", field.list, number), place, field.maxlength));
    return html + ui::textInput({.name = place.fields + field.key,
                                 .value = place.submitted ? posted(cgi, place.fields + field.key)
                                                          : std::string(),
                                 .unsafe = true});
}

} // namespace

const Type *findType(std::span<const Type> types, std::string_view name) {
    const auto found = std::find_if(types.begin(), types.end(),
                                    [&](const Type &type) { return type.name == name; });
    return found == types.end() ? nullptr : &*found;
}

void declareFields(Engine &engine, std::span<const Field> fields, const Place &place) {
    for (const Field &field : fields) {
        if (field.input == Input::ports)
            continue; // a box is there or not; what it says is not read
        const FormElem element(field.label, field.type, false, false,
                               static_cast<int>(bufferOf(field.maxlength)));
        engine.addElement(place.fields + field.key, element);
        if (field.input != Input::arguments)
            continue;
        const std::size_t count = readValues(engine.config(), place.keys + field.list).size();
        for (std::size_t number = 1; number <= count; ++number)
            engine.addElement(numbered(place.fields, field.list, number), element);
    }
}

void checkFields(Engine &engine, Cgi &cgi, std::span<const Field> fields, const Place &place) {
    for (const Field &field : fields) {
        const std::string_view type = field.type;
        if (field.input == Input::menu)
            checkMenu(engine, cgi, field, place);
        else if (type == "numeric" || type == "integer")
            checkNumber(cgi, field, place);
    }
}

void storeFields(Engine &engine, Cgi &cgi, std::span<const Field> fields, const Place &place) {
    ConfigManager &config = engine.config();
    for (const Field &field : fields) {
        if (field.input == Input::ports)
            writeValues(config, place.keys + field.list, submittedPorts(config, cgi, field, place));
        else if (field.input == Input::arguments)
            writeValues(config, place.keys + field.list,
                        submittedArguments(config, cgi, field, place));
        else
            storeText(config, cgi, field, place);
    }
}

void clearFields(ConfigManager &config, std::span<const Field> fields, const std::string &keys) {
    for (const Field &field : fields) {
        if (field.input == Input::ports || field.input == Input::arguments)
            writeValues(config, keys + field.list, {});
        else
            config.delElement(keys + field.key);
    }
}

std::string shownText(Engine &engine, Cgi &cgi, const std::string &key, const Place &place,
                      int maxlength) {
    return place.submitted ? posted(cgi, place.fields + key, maxlength)
                           : engine.config().getElement(place.keys + key);
}

std::string fieldInput(Engine &engine, Cgi &cgi, const Field &field, const Place &place) {
    const std::string name = place.fields + field.key;
    switch (field.input) {
    case Input::text:
        return ui::textInput({.name = name,
                              .value = shownText(engine, cgi, field.key, place, field.maxlength),
                              .maxlength = field.maxlength,
                              .unsafe = std::string_view(field.type).starts_with("unsafe_")});
    case Input::unsafeText:
        return ui::unsafeTextInput(unsafeInput(engine, cgi, field.key, place, field.maxlength));
    case Input::unsafeArea:
        return ui::unsafeTextAreaInput(unsafeInput(engine, cgi, field.key, place, field.maxlength),
                                       area_rows, area_cols);
    case Input::check:
        return ui::checkInput(name, place.submitted
                                        ? !posted(cgi, name).empty()
                                        : engine.config().getBoolean(place.keys + field.key));
    case Input::menu:
        return menuMarkup(engine, cgi, field, place);
    case Input::ports:
        return portsMarkup(engine, cgi, field, place);
    case Input::arguments:
        return argumentsMarkup(engine, cgi, field, place);
    }
    return "";
}

std::string storedWords(const ConfigManager &config, const Field &field, const std::string &keys) {
    if (field.input == Input::ports) {
        std::string words;
        for (const std::string &reference : readValues(config, keys + field.list)) {
            const std::string label = config.getElement(reference + ".label");
            words += (words.empty() ? "" : ", ") + (label.empty() ? reference : label);
        }
        return words;
    }
    std::string stored = config.getElement(keys + field.key);
    for (const ui::Option &option : optionsOf(config, field.menu))
        if (option.value == stored)
            return option.label;
    return stored;
}

} // namespace zandorin::autoresponse
