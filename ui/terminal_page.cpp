#include "ui/terminal_page.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "ui/markup.h"
#include "ui/page.h"
#include "util/escape.h"
#include "util/strings.h"

namespace zandorin::ui {

namespace {

/// A button that page script gives its work; `action` is the script's word for it.
struct Tool {
    const char *action;
    const char *text;
    const char *title;
};
constexpr Tool tools[] = {
    {"take", "Take Over", "Write, and make who writes now a watcher"},
    {"break", "Send Break", "Send a serial break"},
    {"copy", "Copy", "Copy what is selected"},
    {"smaller", "Smaller", "Smaller letters"},
    {"larger", "Larger", "Larger letters"},
    {"save", "Download", "Everything that was seen here, as a text file"},
    {"full", "Full Screen", "Use the whole screen; again, or Escape, goes back"},
    {"reader", "Screen Reader", "Read out what comes"},
};
constexpr Tool keys[] = {
    {"key:ctrl", "Ctrl", "The next key with Ctrl"},
    {"key:esc", "Esc", "Escape"},
    {"key:tab", "Tab", "Tab"},
    {"key:up", "\xe2\x86\x91", "Up"},
    {"key:down", "\xe2\x86\x93", "Down"},
    {"key:left", "\xe2\x86\x90", "Left"},
    {"key:right", "\xe2\x86\x92", "Right"},
};

std::string toolButton(const Tool &tool) {
    return concat({"<button type=\"button\"", attribute("data-action", tool.action),
                   attribute("title", tool.title), attribute("aria-label", tool.title), ">",
                   escapeUtf8Text(tool.text), "</button>"});
}

} // namespace

void showTerminal(Engine &engine, const std::string &target, const std::string &title,
                  bool watches) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    *cgi << "<link rel=\"stylesheet\"" << attribute("href", resourcePath("/css/xterm.css")) << ">"
         << "<link rel=\"stylesheet\"" << attribute("href", resourcePath("/css/terminal.css"))
         << ">"
         << "<section id=\"terminal-page\"" << attribute("data-target", target)
         << attribute("data-watch", watches ? "on" : "") << attribute("aria-label", title) << ">"
         << "<div class=\"terminal-head\"><h2>" << escapeXmlText(title) << "</h2>"
         << "<span id=\"terminal-state\" role=\"status\">Opening</span></div>"
         << "<div class=\"terminal-tools\" role=\"toolbar\" aria-label=\"Terminal\">";
    for (const Tool &tool : tools)
        *cgi << toolButton(tool);
    *cgi << "<form class=\"terminal-find\" role=\"search\"><input type=\"search\" name=\"words\" "
            "size=\"14\" aria-label=\"Search\" placeholder=\"Search\"></form></div>"
         << "<div id=\"terminal\"></div><div class=\"terminal-keys\" role=\"toolbar\" "
            "aria-label=\"Keys\">";
    for (const Tool &key : keys)
        *cgi << toolButton(key);
    *cgi << "</div><p class=\"terminal-hint\">Ctrl+F6 leaves the terminal for the buttons above "
            "it.</p><noscript><p>A terminal needs scripts.</p></noscript></section>";
    for (const char *script : {"/scripts/xterm.js", "/scripts/addon-fit.js",
                               "/scripts/addon-search.js", "/scripts/terminal.js"})
        *cgi << "<script" << attribute("src", resourcePath(script)) << "></script>";
}

} // namespace zandorin::ui
