#include "ui/table.h"

#include <sstream>

#include <gtest/gtest.h>

namespace zandorin::ui {
namespace {

std::string written(void (*use)(Table &)) {
    std::ostringstream out;
    Table table(out);
    use(table);
    return out.str();
}

TEST(Table, WritesWhatFitsAndReportsWhatDoesNot) {
    const struct {
        const char *name;
        void (*use)(Table &);
        const char *markup;
    } rows[] = {
        {"row on a fresh table", [](Table &t) { t.openRow(); },
         "<span class=\"error\">ui::Table::openRow() called inappropriately []</span><br>\n"},
        {"cell without a row",
         [](Table &t) {
             t.open("");
             t.closeCell();
         },
         "<table><span class=\"error\">ui::Table::closeCell() called with no open cell "
         "[table]</span><br>\n"},
        {"row closed over an open cell",
         [](Table &t) {
             t.open("");
             t.openRow();
             t.openCell("field-label");
             t.closeRow();
         },
         "<table><tr class=\"form-table\"><td class=\"field-label\" width=\"22%\"><span "
         "class=\"error\">ui::Table::closeRow() called with row not open [table, row, "
         "cell]</span><br>\n"},
        {"table inside a cell",
         [](Table &t) {
             t.open();
             t.openRow();
             t.openCell("field-input", 2, "top", "10%");
             t.open(" id='inner'");
             t.close();
             t.closeCell();
             t.closeRow();
             t.close();
         },
         "<table border='0' cellpadding='6' cellspacing='0' class='form-table' width='100%'>"
         "<tr class=\"form-table\"><td class=\"field-input\" colspan=\"2\" valign=\"top\" "
         "width=\"10%\"><table id='inner'></table>&nbsp;</td></tr></table>"},
        {"a second table beside the open one",
         [](Table &t) {
             t.open("");
             t.open("");
         },
         "<table><span class=\"error\">ui::Table::open() called inappropriately "
         "[table]</span><br>\n"},
        {"a deep stack is shortened",
         [](Table &t) {
             for (int i = 0; i < 3; ++i) {
                 t.open("");
                 t.openRow();
                 t.openCell("x");
             }
             t.close();
         },
         "<table><tr class=\"form-table\"><td class=\"x\" width=\"78%\">"
         "<table><tr class=\"form-table\"><td class=\"x\" width=\"78%\">"
         "<table><tr class=\"form-table\"><td class=\"x\" width=\"78%\"><span class=\"error\">"
         "ui::Table::close() called with no open table [table, row, cell, table, row, "
         "cell...]</span><br>\n"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(written(row.use), row.markup) << row.name;
}

TEST(Table, Rows) {
    const std::string frame = "<table>";
    const struct {
        const char *name;
        void (*use)(Table &);
        std::string markup;
    } rows[] = {
        {"spacer", [](Table &t) { t.spacerRow(); },
         "<tr class=\"form-table\"><td class=\"spacer\" colspan=\"99\" "
         "width=\"78%\">&nbsp;</td></tr>"},
        {"hostile texts", [](Table &t) { t.labelledTextRow("<Name>", "\"a\" <b> & c"); },
         "<tr class=\"form-table\"><td class=\"field-label\" width=\"22%\">&lt;Name&gt;&nbsp;</td>"
         "<td class=\"field-input\" width=\"78%\">\"a\" &lt;b&gt; &amp; c&nbsp;</td></tr>"},
        {"input with a description",
         [](Table &t) { t.checkInputRow("On", "config.x", true, "a <i>note</i>"); },
         "<tr class=\"form-table\"><td class=\"field-label\" width=\"22%\">On&nbsp;</td>"
         "<td class=\"field-input\" width=\"78%\"><input type=\"checkbox\" name=\"config.x\" "
         "value=\"on\" checked><br>a <i>note</i>&nbsp;</td></tr>"},
        {"output", [](Table &t) { t.textOutputRow("State", "up", ""); },
         "<tr class=\"form-table\"><td class=\"field-label\" width=\"22%\">State&nbsp;</td>"
         "<td class=\"field-output\" width=\"78%\">up<br>&nbsp;</td></tr>"},
        {"apply", [](Table &t) { t.applyButtonRow(); },
         "<tr class=\"form-table\"><td class=\"field-label\" width=\"22%\">&nbsp;</td>"
         "<td class=\"field-input\" width=\"78%\"><input name=\"apply\" class=\"formbtn\" "
         "value=\"Apply\" type=\"submit\">&nbsp;</td></tr>"},
    };
    for (const auto &row : rows) {
        std::ostringstream out;
        Table table(out);
        table.open("");
        row.use(table);
        EXPECT_EQ(out.str(), frame + row.markup) << row.name;
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
