#include "tests/support/log_capture.h"
#include "tests/support/testing.h"
#include "ui/inputs.h"
#include "ui/table.h"
#include "ui/unsafe_inputs.h"
#include "util/escape.h"

// What other markup of pages is made of, byte for byte. What templates can call is held against
// docs/templates.md.

namespace zandorin::ui {
namespace {

TEST(Inputs, Markup) {
    const std::string cut(64, '<');
    const std::tuple<const char *, std::string, std::string> rows[] = {
        {"text with all",
         textInput(
             {.name = "a", .value = "v", .maxlength = 8, .size = 5, .allowAutocomplete = false}),
         R"(<input type="text" class="formfield" name="a" value="v"  size="5" maxlength="8")"
         R"( autocomplete="off">)"},
        {"hostile text", textInput({.name = "a", .value = "\"><script>", .unsafe = true}),
         R"(<input type="text" class="formfield" name="a" value="&quot;&gt;&lt;script&gt;"  )"
         R"(size="25">)"},
        {"text area", textAreaInput("a", "x\n</textarea>", 3, 0),
         R"(<textarea name="a" rows="3">x&#x0a;&lt;/textarea&gt;</textarea>)"},
        {"grouped menu",
         menuInput("m", {{"1", "One"}, {"2", "Two", "G"}, {"3", "Three", "G"}, {"4", "Four", "H"}},
                   "3", "go"),
         R"(<select name="m" onchange="go"><option value="1">One</option><optgroup label="G">)"
         R"(<option value="2">Two</option><option value="3" selected>Three</option></optgroup>)"
         R"(<optgroup label="H"><option value="4">Four</option></optgroup></select>)"},
        {"disabled check", checkInput("c", true, true, "x"),
         R"(<input type="checkbox" name="c" value="on" disabled checked onClick="x">)"},
        {"number range", menuInputNumRange("m", -1, 1, 0),
         R"(<select name="m"><option value="-1">-1</option><option value="0" selected>0</option>)"
         R"(<option value="1">1</option></select>)"},
        {"devices", getDeviceMenu("d", "rpc"),
         R"(<select id="d" name="d"><option id="None" value="None" >None</option>)"
         R"(<option id="ups" value="ups" >UPS</option>)"
         R"(<option id="rpc" value="rpc" selected>RPC</option>)"
         R"(<option id="enviro" value="enviro" >Environmental</option></select>)"},
        {"long value", unsafeTextInput({.name = "u", .current = cut + "x", .offerDelete = false}),
         R"(<table border="0" cellpadding="0" cellspacing="0"><tr><td><div id="u.current" title=")" +
             encodeSafe(cut) + R"(x"><b>)" + encodeSafe(cut) +
             R"(...</b></div></td></tr><tr><td><input type="text" class="formfield" name="u")"
             R"(  size="25"></td></tr></table>)"},
        {"no value", unsafeTextAreaInput({.name = "u"}, 2),
         R"(<table border="0" cellpadding="0" cellspacing="0" width="100%%"><tr><td>)"
         R"(<div id="u.current" title=""><b><i>(Currently empty)</i></b></div></td></tr><tr><td>)"
         R"(<input type="checkbox" name="u.delete" value="on">Clear this field.</td></tr><tr><td>)"
         R"(<textarea name="u" rows="2"></textarea></td></tr></table>)"},
    };
    for (const auto &[name, markup, expected] : rows)
        EXPECT_EQ(markup, expected) << name;
}

TEST(Inputs, OnlyAnUnsafeTextIsLoggedAndNeverAPassword) {
    const test::LogCapture log;
    textInput({.name = "a", .value = "x<y"});
    textInput({.name = "b", .value = "x<y", .unsafe = true});
    textInput({.name = "c", .value = "x<y", .type = "password"});
    EXPECT_EQ(log.records(), std::vector<std::string>{"400 Unsafe string detected: a = x<y"});
}

TEST(Table, WritesWhatFitsAndReportsWhatDoesNot) {
    const std::string row = R"(<tr class="form-table">)";
    const std::string label = row + R"(<td class="field-label" width="22%">)";
    const std::string input = R"(&nbsp;</td><td class="field-input" width="78%">)";
    const std::string end = "&nbsp;</td></tr>";
    const std::string cell = row + R"(<td class="x" width="78%">)";
    const auto error = [](const std::string &text) {
        return R"(<span class="error">ui::Table::)" + text + "</span><br>\n";
    };
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
         error("closeCell() called with no open cell [table]") + cell + "<table>" + cell +
             "<table>" +
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
         row + R"(<td class="field-input" colspan="2" valign="top" width="10%">)" +
             "<table id='inner'></table>" + end + "</table>"},
        {[](Table &t) { t.labelledTextRow("<Name>", "\"a\" <b> & c"); },
         label + "&lt;Name&gt;" + input + R"("a" &lt;b&gt; &amp; c)" + end},
        {[](Table &t) { t.checkInputRow("On", "config.x", true, "a <i>note</i>"); },
         label + "On" + input + R"(<input type="checkbox" name="config.x" value="on" checked>)" +
             "<br>a <i>note</i>" + end},
        {[](Table &t) { t.applyButtonRow(); },
         label + input + R"(<input name="apply" class="formbtn" value="Apply" type="submit">)" +
             end},
        {[](Table &t) {
             t.openRow();
             t.cell("a", "<b>/");
             t.unsafeCell("b", "<b>x</b>", "5%");
         },
         row + R"(<td valign="top" class="a">&lt;b&gt;&#x2F;</td>)" +
             R"(<td valign="top" class="b" width="5%"><b>x</b></td>)"},
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
