#include "ui/page.h"

#include "cgi/cgi.h"
#include "ui/markup.h"
#include "util/escape.h"
#include "util/log.h"
#include "util/strings.h"

namespace zandorin::ui {

namespace {

// XHTML 1.0 Transitional (W3C recommendation XHTML 1.0, appendix A.1).
constexpr const char *doctype = "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Transitional//EN\" "
                                "\"http://www.w3.org/TR/xhtml1/DTD/xhtml1-transitional.dtd\">\n";

std::string box(std::string_view cssClass, std::string_view colour, std::string_view word,
                std::string_view message) {
    std::string html = "<html><body bgcolor=\"#FFFFFF\"><p class=\"";
    html.append(cssClass).append("\"><font color=\"").append(colour).append("\"><b>");
    html.append(word).append("</b></font> ").append(message).append("</p></body></html>");
    return html;
}

/// A text inside a quoted JavaScript string inside a script element.
std::string scriptText(std::string_view text) {
    static constexpr char digits[] = "0123456789abcdef";
    static constexpr std::string_view special = "\"'\\<>&";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7f && special.find(c) == std::string_view::npos) {
            result += c;
            continue;
        }
        result += "\\x";
        result += digits[byte >> 4U];
        result += digits[byte & 0xfU];
    }
    return result;
}

std::string script(std::string_view path) {
    return "<script type=\"text/javascript\" src=\"" + resourcePath(path) + "\"></script>";
}

} // namespace

std::string resourcePath(std::string_view path) {
    return escapeXmlAttribute(concat({baseUri(), path}));
}

std::string pixmapPath(std::string_view name) {
    return resourcePath(concat({"/pixmaps/", name, ".png"}));
}

std::string openPage(const std::string &title, const std::string &contentType,
                     const std::string &styleSheet, const std::string &favicon) {
    ZANDORIN_TRACE();
    std::string html;
    html.reserve(700); // rarely more
    append(html,
           {doctype, "<html>\n\t<head>\n\t<meta http-equiv=\"X-UA-Compatible\" content=\"IE=7\">\n",
            "\t\t<title>", title, "</title>\n\t\t<meta http-equiv=\"Content-Type\" content=\"",
            escapeXmlAttribute(contentType), "; charset=iso-8859-1\"/>\n"});
    if (!styleSheet.empty())
        append(html, {"\t\t<link href=\"", resourcePath(styleSheet),
                      "\" rel=\"stylesheet\" type=\"text/css\"/>\n"});
    if (!favicon.empty())
        append(html, {"\t\t<link href=\"", resourcePath(favicon), "\" rel=\"shortcut icon\"/>\n"});
    html += "\t</head>\n\t<body>\n";
    return html;
}

std::string closePage() {
    ZANDORIN_TRACE();
    return "\t</body>\n</html>\n";
}

std::string openDiv(const std::string &id, const std::string &cssClass, bool visible) {
    ZANDORIN_TRACE();
    return "<div" + attribute("id", id) + optionalAttribute("class", cssClass) +
           attribute("style", visible ? "display: block" : "display: none") + ">";
}

std::string closeDiv() {
    ZANDORIN_TRACE();
    return "</div>\n";
}

std::string getFatal(const std::string &message) {
    ZANDORIN_TRACE();
    return box("fatal-message", "#E20303", "Fatal", message);
}

std::string getError(const std::string &message) {
    ZANDORIN_TRACE();
    return box("error-message", "#E20303", "Error", message);
}

std::string getInfo(const std::string &message) {
    ZANDORIN_TRACE();
    return box("info-message", "#0000FF", "Message", message);
}

std::string getDebug(const std::string &message) {
    ZANDORIN_TRACE();
    return box("info-message", "#00FF00", "Debug", message);
}

std::string inlineError(const std::string &message) {
    ZANDORIN_TRACE();
    return "<span class=\"error\">" + message + "</span><br>\n";
}

std::string delayedRefresh(int delayMs, const std::string &method) {
    ZANDORIN_TRACE();
    return "Please wait for this page to refresh, or click "
           "<a href=\"javascript:location.reload(true)\">here</a> to force a refresh.<br>\n"
           "<script language=\"javascript\">\nsetTimeout(function(){" +
           std::string(method == "GET" ? "window.location = String(window.location)"
                                       : "window.location.reload(true)") +
           "}, " + std::to_string(delayMs) + ");\n</script>";
}

std::string delayedRedirect(const std::string &url, int delayMs) {
    ZANDORIN_TRACE();
    return "Please wait for this page to refresh, or click " + link(url, "here") +
           " to force a refresh.<br>\n<script language=\"javascript\">\n"
           "setTimeout(function() {\n  window.location=\"" +
           scriptText(url) + "\"\n}, " + std::to_string(delayMs) + ");\n</script>";
}

std::string link(std::string_view target, std::string_view text, std::string_view onClick) {
    ZANDORIN_TRACE();
    return concat({"<a", attribute("href", target), scriptAttribute("onClick", onClick), ">",
                   escapeXmlText(text), "</a>"});
}

std::string imageLink(const Image &image, const std::string &target) {
    ZANDORIN_TRACE();
    std::string html;
    if (!target.empty())
        html += "<a" + attribute("href", target) + ">";
    html += "<img src=\"" + pixmapPath(image.name) + "\"" + optionalAttribute("title", image.title);
    if (image.width > 0 && image.height > 0)
        html += attribute("width", std::to_string(image.width)) +
                attribute("height", std::to_string(image.height));
    html += scriptAttribute("onClick", image.onClick) + " border=\"0\"/>";
    return target.empty() ? html : html + "</a>";
}

std::string imageButton(const std::string &name, const std::string &value, const Image &image) {
    ZANDORIN_TRACE();
    std::string html = "<input type=\"image\" src=\"" + pixmapPath(image.name) + "\"" +
                       attribute("name", name) + attribute("value", value) +
                       optionalAttribute("title", image.title);
    if (image.width > 0)
        html += attribute("width", std::to_string(image.width));
    if (image.height > 0)
        html += attribute("height", std::to_string(image.height));
    return html + scriptAttribute("onClick", image.onClick) + ">";
}

std::string imageActionButton(const std::string &action, const std::string &key,
                              const std::string &value, const Image &image) {
    ZANDORIN_TRACE();
    return imageButton(action + "_" + key, value, image);
}

std::string onLoadScript() {
    ZANDORIN_TRACE();
    return "<script type=\"text/javascript\">\n"
           "var onLoadFuncs = onLoadFuncs || new Array();\n"
           "function addOnLoad(func) {\nonLoadFuncs[onLoadFuncs.length] = func;\n}\n"
           "function runOnLoads() {\nfor (var i = 0; i < onLoadFuncs.length; i++)\n"
           "eval(onLoadFuncs[i]);\n}\n"
           "window.onload = runOnLoads;\n</script>\n";
}

std::string graph(const std::string &id, const std::string &dataUrl, const std::string &options) {
    ZANDORIN_TRACE();
    return onLoadScript() + script("/scripts/dygraph-combined.js") +
           script("/scripts/excanvas.js") + "<div" + attribute("id", id) +
           " style=\"text-align:left\" width=\"100%\"></div>\n" +
           "<script type=\"text/javascript\">\nfunction drawGraph" + id + "() {" +
           "mydiv = document.getElementById(\"" + scriptText(id) + "\");" +
           "g = new Dygraph( mydiv, " + dataUrl + ",{" + options +
           " width: mydiv.clientWidth, height: mydiv.clientHeight, includeZero: true});};\n" +
           "addOnLoad('drawGraph" + id + "()');\n</script>\n";
}

std::string sectionScript() {
    ZANDORIN_TRACE();
    return "<script type=\"text/javascript\" language=\"JavaScript\" src=\"" +
           resourcePath("/scripts/collapse.js") + "\"></script>";
}

std::string sectionBody(const std::string &id, bool collapsed) {
    ZANDORIN_TRACE();
    std::string html = "<tbody id=\"section" + escapeXmlAttribute(id) + "\" class=\"expanded\">";
    if (collapsed)
        html += "<script type=\"text/javascript\" language=\"JavaScript\">"
                "var section = document.getElementById('section" +
                scriptText(id) + "');section.className = 'collapsed';</script>";
    return html;
}

std::string closeSection() {
    ZANDORIN_TRACE();
    return "</tbody>";
}

} // namespace zandorin::ui
