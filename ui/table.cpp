#include "ui/table.h"

#include "ui/markup.h"
#include "ui/page.h"
#include "util/escape.h"
#include "util/log.h"
#include "util/strings.h"

#include <ostream>

namespace zandorin::ui {

namespace {

constexpr int whole_table = 99; ///< a colspan over every column there may be
constexpr std::size_t levels_named = 6;

std::string_view defaultWidth(std::string_view cssClass) {
    return cssClass == "field-label" ? "22%" : "78%";
}

} // namespace

void Table::misuse(std::string_view message) {
    std::string names;
    for (std::size_t i = 0; i < levels_.size() && i < levels_named; ++i) {
        names += i == 0 ? "" : ", ";
        switch (levels_[i]) {
        case Level::table:
            names += "table";
            break;
        case Level::row:
            names += "row";
            break;
        case Level::cell:
            names += "cell";
            break;
        default:
            names += "?";
        }
    }
    if (levels_.size() > levels_named)
        names += "...";
    out_ << inlineError(std::string(message) + " [" + names + "]");
}

void Table::open(const std::string &attributes) {
    ZANDORIN_TRACE();
    if (!levels_.empty() && !top(Level::cell)) {
        misuse("ui::Table::open() called inappropriately");
        return;
    }
    out_ << "<table" << attributes << ">";
    levels_.push_back(Level::table);
}

void Table::openRow() {
    ZANDORIN_TRACE();
    if (!top(Level::table)) {
        misuse("ui::Table::openRow() called inappropriately");
        return;
    }
    out_ << "<tr class=\"form-table\">";
    levels_.push_back(Level::row);
}

void Table::openCell(std::string_view cssClass, int colspan, std::string_view valign,
                     std::string_view width) {
    ZANDORIN_TRACE();
    if (!top(Level::row)) {
        misuse("ui::Table::openCell() called inappropriately");
        return;
    }
    std::string markup = "<td";
    markup.reserve(80); // rarely more
    if (!cssClass.empty())
        appendAttribute(markup, "class", cssClass);
    if (colspan != 0)
        appendAttribute(markup, "colspan", std::to_string(colspan));
    if (!valign.empty())
        appendAttribute(markup, "valign", valign);
    appendAttribute(markup, "width", width.empty() ? defaultWidth(cssClass) : width);
    out_ << (markup += '>');
    levels_.push_back(Level::cell);
}

void Table::closeCell() {
    ZANDORIN_TRACE();
    if (!top(Level::cell)) {
        misuse("ui::Table::closeCell() called with no open cell");
        return;
    }
    // An empty cell would lose its height.
    out_ << "&nbsp;</td>";
    levels_.pop_back();
}

void Table::closeRow() {
    ZANDORIN_TRACE();
    if (!top(Level::row)) {
        misuse("ui::Table::closeRow() called with row not open");
        return;
    }
    out_ << "</tr>";
    levels_.pop_back();
}

void Table::close() {
    ZANDORIN_TRACE();
    if (!top(Level::table)) {
        misuse("ui::Table::close() called with no open table");
        return;
    }
    out_ << "</table>";
    levels_.pop_back();
}

void Table::cell(const std::string &cssClass, const std::string &text, const std::string &width) {
    unsafeCell(cssClass, escapeHtmlString(text), width);
}

void Table::unsafeCell(const std::string &cssClass, const std::string &markup,
                       const std::string &width) {
    ZANDORIN_TRACE();
    if (!top(Level::row)) {
        misuse("ui::Table::cell() called inappropriately");
        return;
    }
    out_ << "<td valign=\"top\"" << attribute("class", cssClass)
         << optionalAttribute("width", width) << ">" << markup << "</td>";
}

void Table::spanningRow(std::string_view cssClass, std::string_view markup) {
    openRow();
    openCell(cssClass, whole_table);
    out_ << markup;
    closeCell();
    closeRow();
}

void Table::spacerRow() {
    spanningRow("spacer", "");
}

void Table::titleRow(std::string_view title) {
    spanningRow("sub-title", escapeXmlText(title));
}

void Table::textRow(std::string_view text) {
    spanningRow("field-input", escapeXmlText(text));
}

void Table::row(std::string_view label, std::string_view cssClass, std::string_view markup) {
    openRow();
    openCell("field-label");
    out_ << escapeXmlText(label);
    closeCell();
    openCell(cssClass);
    out_ << markup;
    closeCell();
    closeRow();
}

void Table::labelledTextRow(std::string_view label, std::string_view text) {
    row(label, "field-input", escapeXmlText(text));
}

void Table::textOutputRow(const std::string &label, const std::string &text,
                          const std::string &description) {
    row(label, "field-output", escapeXmlText(text) + "<br>" + description);
}

void Table::inputRow(std::string_view label, std::string_view markup,
                     std::string_view description) {
    if (description.empty())
        row(label, "field-input", markup);
    else
        row(label, "field-input", concat({markup, "<br>", description}));
}

void Table::textInputRow(const std::string &label, const TextInput &input,
                         const std::string &description) {
    inputRow(label, textInput(input), description);
}

void Table::unsafeTextInputRow(const std::string &label, const UnsafeInput &input,
                               const std::string &description) {
    inputRow(label, unsafeTextInput(input), description);
}

void Table::textAreaInputRow(const std::string &label, const std::string &name,
                             const std::string &value, int rows, int cols,
                             const std::string &description) {
    inputRow(label, textAreaInput(name, value, rows, cols), description);
}

void Table::unsafeTextAreaInputRow(const std::string &label, const UnsafeInput &input, int rows,
                                   int cols, const std::string &description) {
    inputRow(label, unsafeTextAreaInput(input, rows, cols), description);
}

void Table::radioInputRow(const std::string &label, const std::string &name,
                          const std::vector<Option> &options, const std::string &selected,
                          const std::string &description) {
    inputRow(label, radioInput(name, options, selected), description);
}

void Table::checkInputRow(const std::string &label, const std::string &name, bool checked,
                          const std::string &description) {
    inputRow(label, checkInput(name, checked), description);
}

void Table::menuInputRow(const std::string &label, const std::string &name,
                         const std::vector<Option> &options, const std::string &selected,
                         const std::string &description) {
    inputRow(label, menuInput(name, options, selected), description);
}

void Table::menuInputNumRangeRow(const std::string &label, const std::string &name, int from,
                                 int to, int selected, const std::string &description) {
    inputRow(label, menuInputNumRange(name, from, to, selected), description);
}

void Table::applyButtonRow(const std::string &label) {
    row("", "field-input", getApplyButton("apply", label));
}

void Table::openSection(const std::string &id, const std::string &title, bool collapsed) {
    ZANDORIN_TRACE();
    if (!top(Level::table)) {
        misuse("ui::Table::openSection() called inappropriately");
        return;
    }
    out_ << "<tr><td class=\"sub-title\" valign=\"top\" colspan=\"99\" onClick=\"sectionToggle('"
         << escapeXmlAttribute(id) << "')\"><img class=\"section-icon\" id=\"section-icon"
         << escapeXmlAttribute(id) << "\" src=\""
         << pixmapPath(collapsed ? "icon-expand" : "icon-collapse") << "\">" << escapeXmlText(title)
         << "</td></tr>";
}

} // namespace zandorin::ui
