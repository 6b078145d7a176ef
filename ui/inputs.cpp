#include "ui/inputs.h"

#include "ui/markup.h"
#include "util/escape.h"
#include "util/log.h"
#include "util/strings.h"

namespace zandorin::ui {

namespace {

/// ` value="..."`: values are encoded the way request values are.
std::string valueAttribute(const std::string &value) {
    return concat({" value=\"", encodeSafe(value), "\""});
}

std::string inputButton(const std::string &type, const std::string &name, const std::string &label,
                        const std::string &onClick, bool disabled) {
    return concat({"<input", attribute("name", name), " class=\"formbtn\"",
                   attribute("value", label), attribute("type", type),
                   scriptAttribute("onClick", onClick), disabled ? " disabled" : "", ">"});
}

/// Options that are not told apart by a label of their own, as the device and power menus have
/// them.
std::string plainOption(const std::string &attributes, const std::string &label, bool selected) {
    return "<option" + attributes + " " + (selected ? "selected" : "") + ">" +
           escapeXmlText(label) + "</option>";
}

std::string openDeviceSelect(const std::string &name, const std::string &onChange) {
    return "<select" + attribute("id", name) + attribute("name", name) +
           scriptAttribute("onChange", onChange) + ">";
}

} // namespace

std::string textInput(const TextInput &input) {
    ZANDORIN_TRACE();
    const bool password = input.type == "password";
    const std::string shown = input.value.empty() ? ""
                              : password          ? password_placeholder
                                                  : encodeSafe(input.value);
    if (!password && !input.unsafe && shown != input.value)
        logRecord(Priority::warn, "Unsafe string detected: %s = %s", input.name.c_str(),
                  input.value.c_str());
    std::string html = "<input";
    html.reserve(160); // rarely more
    appendAttribute(html, "type", input.type);
    html += " class=\"formfield\"";
    appendAttribute(html, "name", input.name);
    html += ' ';
    if (!shown.empty())
        append(html, {"value=\"", shown, "\" "});
    appendAttribute(html, "size", std::to_string(input.size));
    if (input.maxlength > 0)
        appendAttribute(html, "maxlength", std::to_string(input.maxlength));
    if (!input.allowAutocomplete)
        html += " autocomplete=\"off\"";
    if (!input.placeholder.empty())
        appendAttribute(html, "placeholder", encodeSafe(input.placeholder));
    if (input.suggestions.empty()) {
        html += '>';
        return html;
    }
    appendAttribute(html, "list", input.name + ".list");
    html += "><datalist";
    appendAttribute(html, "id", input.name + ".list");
    html += '>';
    for (const Option &option : input.suggestions) {
        html += "<option";
        appendAttribute(html, "value", encodeSafe(option.value));
        html += '>';
    }
    html += "</datalist>";
    return html;
}

std::string textAreaInput(const std::string &name, const std::string &value, int rows, int cols) {
    ZANDORIN_TRACE();
    std::string html = "<textarea";
    appendAttribute(html, "name", name);
    if (rows > 0)
        appendAttribute(html, "rows", std::to_string(rows));
    if (cols > 0)
        appendAttribute(html, "cols", std::to_string(cols));
    append(html, {">", encodeSafe(value), "</textarea>"});
    return html;
}

std::string menuInput(const std::string &name, const std::vector<Option> &options,
                      const std::string &selected, const std::string &onChange) {
    ZANDORIN_TRACE();
    std::string html =
        "<select" + attribute("name", name) + scriptAttribute("onchange", onChange) + ">";
    std::string group;
    for (const Option &option : options) {
        if (option.group != group) {
            html += group.empty() ? "" : "</optgroup>";
            if (!option.group.empty())
                html += "<optgroup" + attribute("label", option.group) + ">";
            group = option.group;
        }
        html += "<option" + valueAttribute(option.value) +
                (option.value == selected ? " selected" : "") + ">" + escapeXmlText(option.label) +
                "</option>";
    }
    return html + (group.empty() ? "" : "</optgroup>") + "</select>";
}

std::string menuInputNumRange(const std::string &name, int from, int to, int selected,
                              const std::string &onChange) {
    ZANDORIN_TRACE();
    std::vector<Option> options;
    for (int number = from; number <= to; ++number)
        options.emplace_back(std::to_string(number));
    return menuInput(name, options, std::to_string(selected), onChange);
}

std::string radioInput(const std::string &name, const std::vector<Option> &options,
                       const std::string &selected, const std::string &onClick) {
    ZANDORIN_TRACE();
    std::string html;
    for (const Option &option : options) {
        if (!html.empty())
            html += "<br/>";
        html += "<input type=\"radio\"" + attribute("name", name) + valueAttribute(option.value) +
                (option.value == selected ? " checked" : "") + scriptAttribute("onClick", onClick) +
                ">" + escapeXmlText(option.label);
    }
    return html;
}

std::string checkInput(const std::string &name, bool checked, bool disabled,
                       const std::string &onClick) {
    ZANDORIN_TRACE();
    return concat({"<input type=\"checkbox\"", attribute("name", name), " value=\"on\"",
                   disabled ? " disabled" : "", checked ? " checked" : "",
                   scriptAttribute("onClick", onClick), ">"});
}

std::string getApplyButton(const std::string &name, const std::string &label,
                           const std::string &onClick, bool disabled) {
    ZANDORIN_TRACE();
    return inputButton("submit", name, label, onClick, disabled);
}

std::string button(const std::string &name, const std::string &label, const std::string &onClick,
                   bool disabled) {
    ZANDORIN_TRACE();
    return inputButton("button", name, label, onClick, disabled);
}

std::string getAddListButton(const std::string &listName, const std::string &fieldName) {
    ZANDORIN_TRACE();
    return "<input type=\"button\" value=\"Add\" onClick=\"var i = 0;if (" + fieldName +
           ".value != '') {var no = new Option();no.value = " + fieldName +
           ".value;no.text = " + fieldName + ".value;" + listName + ".options[" + listName +
           ".options.length] = no;" + fieldName + ".value = '';}\">";
}

std::string getDelListButton(const std::string &listName) {
    ZANDORIN_TRACE();
    return "<input type=\"button\" value=\"Remove\" onClick=\"for (var i = 0; i < " + listName +
           ".options.length; i++) {if (" + listName + ".options[i].selected && " + listName +
           ".options[i] != '') {for (var j = i; j < " + listName + ".options.length - 1; j++) {" +
           listName + ".options[j].value = " + listName + ".options[j + 1].value;" + listName +
           ".options[j].text = " + listName + ".options[j + 1].text;}" + listName +
           ".options.length -= 1;}}\">";
}

std::string getPortCheckboxes(const std::string &prefix, const std::vector<PortChoice> &ports) {
    ZANDORIN_TRACE();
    constexpr std::size_t ports_in_a_row = 8;
    std::string html =
        "<br><input type=\"checkbox\" name=\"select.all\" onClick=\"var i = 0;"
        "while (i < this.form.length) {if (this.form[i].type == 'checkbox' && "
        "this.form[i].name.match(/" +
        prefix +
        "[0-9]/) != null) {\tthis.form[i].checked = this.checked;}i++;}\">"
        "Select/Unselect all Ports.<table width=\"100%\" border=\"0\" cellpadding=\"0\">";
    for (std::size_t i = 0; i < ports.size(); ++i) {
        const PortChoice &port = ports[i];
        if (i % ports_in_a_row == 0)
            html += "<tr>";
        html += "<td width=\"12%\" class=\"field-label\">";
        if (port.available)
            html += "<input" + attribute("name", prefix + std::to_string(port.number)) +
                    " type=\"checkbox\"" + (port.checked ? " checked" : "") + ">" +
                    escapeXmlText(port.label);
        else
            html += "&nbsp;<font color=\"#FF0000\">N/A</font>";
        html += "</td>";
        if (i % ports_in_a_row == ports_in_a_row - 1 || i + 1 == ports.size())
            html += "</tr>";
    }
    return html + "</table>";
}

std::string getDeviceMenu(const std::string &name, const std::string &current,
                          const std::string &onChange) {
    ZANDORIN_TRACE();
    static const Option kinds[] = {
        {"None", "None"}, {"ups", "UPS"}, {"rpc", "RPC"}, {"enviro", "Environmental"}};
    std::string html = openDeviceSelect(name, onChange);
    for (const Option &kind : kinds)
        html += plainOption(attribute("id", kind.value) + attribute("value", kind.value),
                            kind.label, kind.value == current);
    return html + "</select>";
}

std::string getPowerMenu(const std::string &name, const std::vector<PowerType> &types,
                         const std::string &current, const std::string &onChange) {
    ZANDORIN_TRACE();
    std::string html = openDeviceSelect(name, onChange) +
                       plainOption(attribute("value", "None"), "None", current == "None");
    for (const PowerType &type : types) {
        const std::string outlets =
            type.outlets == 0 ? "Variable " : std::to_string(type.outlets) + " ";
        html += plainOption(valueAttribute(type.name), type.name + " (" + outlets + "outlets)",
                            type.name == current);
    }
    return html + "</select>";
}

} // namespace zandorin::ui
