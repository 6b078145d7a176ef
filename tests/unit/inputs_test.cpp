#include "tests/support/log_capture.h"
#include "tests/support/testing.h"
#include "ui/inputs.h"
#include "ui/unsafe_inputs.h"

namespace zandorin::ui {
namespace {

TEST(Inputs, Markup) {
    const std::tuple<const char *, std::string, std::string> rows[] = {
        {"text with all",
         textInput(
             {.name = "a", .value = "v", .maxlength = 8, .size = 5, .allowAutocomplete = false}),
         "<input type=\"text\" class=\"formfield\" name=\"a\" value=\"v\"  size=\"5\" "
         "maxlength=\"8\" autocomplete=\"off\">"},
        {"hostile text", textInput({.name = "a", .value = "\"><script>", .unsafe = true}),
         "<input type=\"text\" class=\"formfield\" name=\"a\" value=\"&quot;&gt;&lt;script&gt;\"  "
         "size=\"25\">"},
        {"stored password", textInput({.name = "p", .value = "secret", .type = "password"}),
         "<input type=\"password\" class=\"formfield\" name=\"p\" value=\"********\"  "
         "size=\"25\">"},
        {"text area", textAreaInput("a", "x\n</textarea>", 3, 0),
         "<textarea name=\"a\" rows=\"3\">x&#x0a;&lt;/textarea&gt;</textarea>"},
        {"grouped menu",
         menuInput("m", {{"1", "One"}, {"2", "Two", "G"}, {"3", "Three", "G"}, {"4", "Four", "H"}},
                   "3", "go()"),
         "<select name=\"m\" onchange=\"go()\"><option value=\"1\">One</option><optgroup "
         "label=\"G\"><option value=\"2\">Two</option><option value=\"3\" selected>Three</option>"
         "</optgroup><optgroup label=\"H\"><option value=\"4\">Four</option></optgroup></select>"},
        {"disabled check", checkInput("c", true, true, "x()"),
         "<input type=\"checkbox\" name=\"c\" value=\"on\" disabled checked onClick=\"x()\">"},
        {"number range", menuInputNumRange("m", -1, 1, 0),
         "<select name=\"m\"><option value=\"-1\">-1</option><option value=\"0\" "
         "selected>0</option><option value=\"1\">1</option></select>"},
        {"devices", getDeviceMenu("d", "rpc"),
         "<select id=\"d\" name=\"d\"><option id=\"None\" value=\"None\" >None</option><option "
         "id=\"ups\" value=\"ups\" >UPS</option><option id=\"rpc\" value=\"rpc\" "
         "selected>RPC</option><option id=\"enviro\" value=\"enviro\" "
         ">Environmental</option></select>"},
    };
    for (const auto &[name, markup, expected] : rows)
        EXPECT_EQ(markup, expected) << name;
}

TEST(Inputs, UnsafeInputShowsTheStoredValueShortened) {
    std::string cut;
    for (int i = 0; i < 64; ++i)
        cut += "&lt;";
    EXPECT_EQ(
        unsafeTextInput({.name = "u", .current = std::string(65, '<'), .offerDelete = false}),
        "<table border=\"0\" cellpadding=\"0\" cellspacing=\"0\"><tr><td><div id=\"u.current\" "
        "title=\"" +
            cut + "&lt;\"><b>" + cut +
            "...</b></div></td></tr><tr><td><input "
            "type=\"text\" class=\"formfield\" name=\"u\"  size=\"25\"></td></tr></table>");
    EXPECT_EQ(
        unsafeTextAreaInput({.name = "u"}, 2),
        "<table border=\"0\" cellpadding=\"0\" cellspacing=\"0\" width=\"100%%\"><tr><td><div "
        "id=\"u.current\" title=\"\"><b><i>(Currently empty)</i></b></div></td></tr><tr><td>"
        "<input type=\"checkbox\" name=\"u.delete\" value=\"on\">Clear this field.</td></tr>"
        "<tr><td><textarea name=\"u\" rows=\"2\"></textarea></td></tr></table>");
}

TEST(Inputs, OnlyAnUnsafeTextIsLoggedAndNeverAPassword) {
    const test::LogCapture log;
    textInput({.name = "a", .value = "x<y"});
    textInput({.name = "b", .value = "x<y", .unsafe = true});
    textInput({.name = "c", .value = "x<y", .type = "password"});
    EXPECT_EQ(log.records(), std::vector<std::string>{"400 Unsafe string detected: a = x<y"});
}

} // namespace
} // namespace zandorin::ui
