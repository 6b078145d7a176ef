#include "ui/template_functions.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "ui/markup.h"
#include "ui/page.h"
#include "util/escape.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <cstdlib>

namespace zandorin::ui {

namespace {

/// A leaf's icon is named after it, where somebody has drawn one; `icons` are in order.
bool hasIcon(const NavLeaf &leaf, const std::vector<std::string> &icons) {
    return std::binary_search(icons.begin(), icons.end(), concat({"icon-nav-", leaf.id, ".png"}));
}

/// Adds the branch to the panel, unless nothing in it is for this user: it would only be a heading.
void addBranch(std::string &html, Engine &engine, const NavBranch &branch,
               const std::string &number, const std::vector<std::string> &icons) {
    const std::string pixmaps = resourcePath("/pixmaps/");
    const std::size_t before = html.size();
    append(html, {"    <h4 class=\"sub-title\" onclick=\"navToggle(", number,
                  ")\"><img class=\"sub-title\" id=\"icon", number, "\" src=\"", pixmaps,
                  "icon-collapse.png\" loading=\"lazy\" alt=\"\">", escapeXmlText(branch.label),
                  "</h4>\n    <div class=\"branch\" id=\"branch", number, "\">\n"});
    bool isEmpty = true;
    for (const NavLeaf &leaf : branch.leaves) {
        if (leaf.hidden || !engine.isOffered(leaf))
            continue;
        isEmpty = false;
        const std::string id = escapeXmlAttribute(leaf.id);
        append(html, {"      <div id=\"related\"><img src=\"", pixmaps, "icon-nav-",
                      hasIcon(leaf, icons) ? id : "default",
                      ".png\" loading=\"lazy\" alt=\"\"><a href=\"?form=", id, "\">",
                      escapeXmlText(leaf.label), "</a></div>\n"});
    }
    if (isEmpty)
        html.resize(before);
    else
        html += "    </div>\n";
}

} // namespace

std::string getNavPanel(Engine &engine, const Arguments &) {
    constexpr std::size_t usual_size = 8000; // of a panel with all forms
    if (!engine.session().authSuccess())
        return "";
    std::string html;
    html.reserve(usual_size);
    append(html, {"  <script type=\"text/javascript\" src=\"", resourcePath("/scripts/nav.js"),
                  "\"></script>\n  <div id=\"related-links\">\n"});
    const std::vector<std::string> icons =
        namesIn(appliancePath("/home/httpd/pixmaps"), "icon-nav-");
    const auto &branches = engine.navTree().branches();
    if (branches.empty())
        html += "    <strong>No Items Found</strong>\n";
    for (std::size_t i = 0; i < branches.size(); ++i)
        addBranch(html, engine, branches[i], std::to_string(i), icons);
    // The count of hidden branches is no branch.
    const std::vector<std::string> hidden = engine.config().getSubElements("config.ui.nav.hidden");
    const auto hiddenCount = std::count_if(hidden.begin(), hidden.end(),
                                           [](const auto &name) { return name != "total"; });
    append(html, {"  <script type=\"text/javascript\">navInit(", std::to_string(hiddenCount), ", ",
                  std::to_string(branches.size()), ");</script>\n  </div>\n"});
    return html;
}

std::string getShortcuts(Engine &engine, const Arguments &) {
    if (!engine.session().authSuccess())
        return "";
    std::vector<const NavLeaf *> leaves;
    for (const NavBranch &branch : engine.navTree().branches())
        for (const NavLeaf &leaf : branch.leaves)
            if (!leaf.shortcut.empty() && engine.isOffered(leaf))
                leaves.push_back(&leaf);
    std::stable_sort(leaves.begin(), leaves.end(), [](const NavLeaf *a, const NavLeaf *b) {
        return a->shortcutPrecedence < b->shortcutPrecedence;
    });
    std::string html;
    for (const NavLeaf *leaf : leaves)
        append(html, {"<td class=\"top-button\"><a href=\"?form=", escapeXmlAttribute(leaf->id),
                      "\"><img src=\"", pixmapPath(concat({"icon-", leaf->id})), "\"><br/>",
                      escapeXmlText(leaf->shortcut), "</a></td>"});
    return html;
}

std::string getProxyInfo(Engine &engine, const Arguments &) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr || std::getenv("HTTP_X_BASE_URI") == nullptr)
        return "";
    const CgiValue back = cgi->getVarString("back", 32);
    const std::string target = !back.raw.empty() ? "?form=" + back.safe
                               : std::getenv("HTTP_X_WEBPROXY_VERSION") != nullptr
                                   ? "webProxyReturn"
                                   : "?form=cmsdash";
    return "<div id=\"overlay\">This system is being accessed via Tallmark - <a href=\"/" + target +
           "\">click here to return to Tallmark</a></div>";
}

std::string getHref(Engine &, const Arguments &arguments) {
    // The template author's own markup, entities included.
    return "<a href=\"" + arguments[0] + "\">" + arguments[1] + "</a>";
}

std::string getPicture(Engine &, const Arguments &arguments) {
    return imageLink({.name = arguments[1], .title = arguments[2]}, arguments[0]);
}

} // namespace zandorin::ui
