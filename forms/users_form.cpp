#include "forms/users_form.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "platform/libzandorin/serial_ports.h"
#include "ui/form.h"
#include "ui/inputs.h"
#include "ui/markup.h"
#include "ui/table.h"
#include "util/escape.h"
#include "util/strings.h"

#include <string_view>

namespace zandorin::users {

namespace {

constexpr std::string_view boolean = "boolean";

bool isBox(const Field &field) {
    return field.type == boolean;
}

} // namespace

Task taskOf(const Cgi &cgi) {
    Task task;
    task.action = cgi.getVarString("action").raw;
    const std::string type = cgi.getVarString("type").raw;
    for (const Kind *kind : {&user_kind, &group_kind})
        if (type == kind->word)
            task.kind = kind;
    constexpr unsigned most = 10000;
    const auto index = parseWhole(cgi.getVarString("index").raw);
    if (index && *index > 0 && *index <= most)
        task.index = static_cast<unsigned>(*index);
    task.submitted = cgi.getRequestMethod() == "POST" && !cgi.getVarString("apply").raw.empty();
    task.opened = cgi.getVarString("opened").raw;
    return task;
}

void closeTaskForm(ui::Form &form, const std::string &action, const Kind &kind,
                   const Record &record) {
    form.hiddenInput("action", action);
    form.hiddenInput("type", kind.word);
    form.hiddenInput("index", std::to_string(record.index));
    form.hiddenInput("opened", record.name);
    form.closeForm();
}

std::string labelledBox(const std::string &name, bool checked, const std::string &text,
                        const std::string &title, bool fixed) {
    return "<label>" + ui::checkInput(name, checked, fixed) + "<span" +
           ui::optionalAttribute("title", title) + ">" + escapeXmlText(text) + "</span></label>";
}

std::string RecordForm::value(const char *key, int maxlength) const {
    const std::string name = record_.key + key;
    if (!submitted_)
        return engine_.config().getElement(name);
    return cgi_.getVarString(name, static_cast<std::size_t>(maxlength) + 2).raw;
}

bool RecordForm::isOn(const char *key) const {
    return isTicked(record_.key + key, engine_.config().getBoolean(record_.key + key));
}

bool RecordForm::isTicked(const std::string &name, bool stored) const {
    return submitted_ ? !cgi_.getVarString(name).raw.empty() : stored;
}

bool RecordForm::check(const Field &field, const std::string &value) const {
    if (value.size() > static_cast<std::size_t>(field.maxlength)) {
        cgi_.addError(std::string("<i>") + field.label + "</i> can not be longer than " +
                      std::to_string(field.maxlength) + " bytes.");
        return false;
    }
    return value.empty() ||
           engine_.acceptsValue(FormElem(field.label, field.type, true, true), value);
}

void RecordForm::check(std::span<const Field> fields) const {
    for (const Field &field : fields)
        if (!isBox(field))
            check(field, value(field.key, field.maxlength));
}

void RecordForm::save(std::span<const Field> fields, const std::string &key) const {
    for (const Field &field : fields) {
        const std::string submitted =
            isBox(field) ? isOn(field.key) ? "on" : "" : value(field.key, field.maxlength);
        if (submitted.empty())
            engine_.config().delElement(key + field.key);
        else
            engine_.config().setElement(key + field.key, submitted);
    }
}

void RecordForm::show(ui::Table &table, std::span<const Field> fields) const {
    for (const Field &field : fields) {
        const std::string name = record_.key + field.key;
        table.inputRow(field.label,
                       isBox(field) ? ui::checkInput(name, isOn(field.key))
                                    : ui::textInput({.name = name,
                                                     .value = value(field.key, field.maxlength),
                                                     .maxlength = field.maxlength,
                                                     .unsafe = true}),
                       field.help);
    }
}

void RecordForm::showPorts(ui::Table &table, const char *help) const {
    const std::string prefix = record_.key + ".port";
    std::vector<ui::PortChoice> ports;
    for (unsigned number = 1; number <= portCount(engine_.config()); ++number) {
        const std::string name = prefix + std::to_string(number);
        ports.push_back({.number = number,
                         .label = portLabel(engine_.config(), number),
                         .checked = isTicked(name, engine_.config().getBoolean(name))});
    }
    if (!ports.empty())
        table.inputRow("Serial Ports", help + ui::getPortCheckboxes(prefix, ports));
}

void RecordForm::savePorts(const std::string &key) const {
    for (unsigned number = 1; number <= portCount(engine_.config()); ++number)
        saveFlag(".port" + std::to_string(number), key);
}

void RecordForm::saveFlag(const std::string &flag, const std::string &key) const {
    if (isTicked(record_.key + flag, false))
        engine_.config().setElement(key + flag, true);
    else
        engine_.config().delElement(key + flag);
}

std::size_t RecordForm::errors() const {
    return cgi_.getErrors().size();
}

std::string quoted(const std::string &text) {
    return "'" + encodeSafe(text) + "'";
}

} // namespace zandorin::users
