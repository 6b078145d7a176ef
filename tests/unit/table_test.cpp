#include "ui/table.h"

#include <sstream>

#include <gtest/gtest.h>

namespace zandorin::ui {
namespace {

const std::string row_start = "<tr class=\"form-table\">";
const std::string label_start = row_start + "<td class=\"field-label\" width=\"22%\">";
const std::string input_start = "&nbsp;</td><td class=\"field-input\" width=\"78%\">";
const std::string row_end = "&nbsp;</td></tr>";

std::string error(const std::string &text) {
    return "<span class=\"error\">ui::Table::" + text + "</span><br>\n";
}

/// The markup of the calls named in `steps`: "t" opens a table, "r" a row, "c" a cell, and the
/// capital letters close them.
std::string written(std::string_view steps) {
    std::ostringstream out;
    Table table(out);
    for (const char step : steps)
        switch (step) {
        case 't':
            table.open("");
            break;
        case 'T':
            table.close();
            break;
        case 'r':
            table.openRow();
            break;
        case 'R':
            table.closeRow();
            break;
        case 'c':
            table.openCell("x");
            break;
        default:
            table.closeCell();
        }
    return out.str();
}

TEST(Table, WritesWhatFitsAndReportsWhatDoesNot) {
    const std::string cell = "<table>" + row_start + "<td class=\"x\" width=\"78%\">";
    const std::pair<const char *, std::string> rows[] = {
        {"r", error("openRow() called inappropriately []")},
        {"tC", "<table>" + error("closeCell() called with no open cell [table]")},
        {"trcR", cell + error("closeRow() called with row not open [table, row, cell]")},
        {"tt", "<table>" + error("open() called inappropriately [table]")},
        {"trctrctrcT", cell + cell + cell +
                           error("close() called with no open table [table, row, cell, table, "
                                 "row, cell...]")},
    };
    for (const auto &[steps, markup] : rows)
        EXPECT_EQ(written(steps), markup) << steps;

    std::ostringstream out;
    Table table(out);
    table.open();
    table.openRow();
    table.openCell("field-input", 2, "top", "10%");
    table.open(" id='inner'");
    table.close();
    table.closeCell();
    table.closeRow();
    table.close();
    EXPECT_EQ(out.str(), "<table border='0' cellpadding='6' cellspacing='0' class='form-table' "
                         "width='100%'>" +
                             row_start +
                             "<td class=\"field-input\" colspan=\"2\" valign=\"top\" width=\"10%\">"
                             "<table id='inner'></table>" +
                             row_end + "</table>");
}

TEST(Table, Rows) {
    const struct {
        void (*use)(Table &);
        std::string markup;
    } rows[] = {
        {[](Table &t) { t.labelledTextRow("<Name>", "\"a\" <b> & c"); },
         label_start + "&lt;Name&gt;" + input_start + "\"a\" &lt;b&gt; &amp; c" + row_end},
        {[](Table &t) { t.checkInputRow("On", "config.x", true, "a <i>note</i>"); },
         label_start + "On" + input_start +
             "<input type=\"checkbox\" name=\"config.x\" value=\"on\" checked><br>a <i>note</i>" +
             row_end},
        {[](Table &t) { t.textOutputRow("State", "up", ""); },
         label_start + "State&nbsp;</td><td class=\"field-output\" width=\"78%\">up<br>" + row_end},
        {[](Table &t) { t.applyButtonRow(); },
         label_start + input_start +
             "<input name=\"apply\" class=\"formbtn\" value=\"Apply\" type=\"submit\">" + row_end},
    };
    for (const auto &row : rows) {
        std::ostringstream out;
        Table table(out);
        table.open("");
        row.use(table);
        EXPECT_EQ(out.str(), "<table>" + row.markup);
    }
}

TEST(Table, CellsEscapeOrNot) {
    std::ostringstream out;
    Table table(out);
    table.open("");
    table.openRow();
    table.cell("a", "<b>/");
    table.unsafeCell("b", "<b>x</b>", "5%");
    EXPECT_EQ(out.str(), "<table><tr class=\"form-table\"><td valign=\"top\" class=\"a\">"
                         "&lt;b&gt;&#x2F;</td><td valign=\"top\" class=\"b\" width=\"5%\">"
                         "<b>x</b></td>");
}

} // namespace
} // namespace zandorin::ui
