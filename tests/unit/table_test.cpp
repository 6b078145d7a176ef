#include "tests/support/testing.h"
#include "ui/table.h"

namespace zandorin::ui {
namespace {

const std::string row_start = "<tr class=\"form-table\">";
const std::string label_start = row_start + "<td class=\"field-label\" width=\"22%\">";
const std::string input_start = "&nbsp;</td><td class=\"field-input\" width=\"78%\">";
const std::string row_end = "&nbsp;</td></tr>";

std::string error(const std::string &text) {
    return "<span class=\"error\">ui::Table::" + text + "</span><br>\n";
}

TEST(Table, WritesWhatFitsAndReportsWhatDoesNot) {
    const std::string cell = "<table>" + row_start + "<td class=\"x\" width=\"78%\">";
    const std::pair<void (*)(Table &), std::string> rows[] = {
        {[](Table &t) {
             t.closeCell();
             for (int level = 0; level < 2; ++level) {
                 t.openRow();
                 t.openCell("x");
                 t.open("");
             }
             t.closeRow();
         },
         error("closeCell() called with no open cell [table]") + cell.substr(7) + cell + "<table>" +
             error("closeRow() called with row not open [table, row, cell, table, row, "
                   "cell...]")},
        {[](Table &t) {
             t.openRow();
             t.openCell("field-input", 2, "top", "10%");
             t.open(" id='inner'");
             t.close();
             t.closeCell();
             t.closeRow();
             t.close();
         },
         row_start +
             "<td class=\"field-input\" colspan=\"2\" valign=\"top\" width=\"10%\">"
             "<table id='inner'></table>" +
             row_end + "</table>"},
        {[](Table &t) { t.labelledTextRow("<Name>", "\"a\" <b> & c"); },
         label_start + "&lt;Name&gt;" + input_start + "\"a\" &lt;b&gt; &amp; c" + row_end},
        {[](Table &t) { t.checkInputRow("On", "config.x", true, "a <i>note</i>"); },
         label_start + "On" + input_start +
             "<input type=\"checkbox\" name=\"config.x\" value=\"on\" checked><br>a <i>note</i>" +
             row_end},
        {[](Table &t) { t.applyButtonRow(); },
         label_start + input_start +
             "<input name=\"apply\" class=\"formbtn\" value=\"Apply\" type=\"submit\">" + row_end},
        {[](Table &t) {
             t.openRow();
             t.cell("a", "<b>/");
             t.unsafeCell("b", "<b>x</b>", "5%");
         },
         row_start + "<td valign=\"top\" class=\"a\">&lt;b&gt;&#x2F;</td>"
                     "<td valign=\"top\" class=\"b\" width=\"5%\"><b>x</b></td>"},
    };
    for (const auto &[calls, markup] : rows) {
        std::ostringstream out;
        Table table(out);
        table.open();
        calls(table);
        EXPECT_EQ(out.str(), "<table border='0' cellpadding='6' cellspacing='0' "
                             "class='form-table' width='100%'>" +
                                 markup);
    }
}

} // namespace
} // namespace zandorin::ui
