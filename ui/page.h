#pragma once

#include <string>
#include <string_view>

// Markup of a page but its forms and tables. Every function answers the markup. Names, targets,
// paths and link texts are escaped here. What is called a title of a page, `message` or `markup`
// stands as it is given, so whoever gives it escapes what came from outside; scripts are the page
// author's own and hold no double quote. An empty text means "not given".

namespace zandorin::ui {

/// A path served by the web server, such as "/scripts/nav.js", behind the base URI of the
/// management proxy when the request came through one; escaped for an attribute.
std::string resourcePath(std::string_view path);
/// The same for the image /pixmaps/<name>.png.
std::string pixmapPath(std::string_view name);

/// Document type, head, and the opening of the body.
std::string openPage(const std::string &title, const std::string &contentType,
                     const std::string &styleSheet, const std::string &favicon);
std::string closePage();

std::string openDiv(const std::string &id, const std::string &cssClass, bool visible);
std::string closeDiv();

// Message boxes. Each is written as a document of its own, wherever in the page it stands.
std::string getFatal(const std::string &message);
std::string getError(const std::string &message);
std::string getInfo(const std::string &message);
std::string getDebug(const std::string &message);
/// The error that stands in the place of markup which could not be made.
std::string inlineError(const std::string &message);

/// Text and script that load the page again after `delayMs` milliseconds. After a GET the location
/// is assigned, which keeps a browser from asking whether to send a form again.
std::string delayedRefresh(int delayMs, const std::string &method);
/// Text and script that go to `url` after `delayMs` milliseconds.
std::string delayedRedirect(const std::string &url, int delayMs);

/// A link; the text is escaped.
std::string link(std::string_view target, std::string_view text, std::string_view onClick = "");

/// A picture of the pixmap folder, by name without ".png".
struct Image {
    std::string name;
    std::string title = "";
    int width = 0; ///< pixels; width and height are written when both are above 0
    int height = 0;
    std::string onClick = "";
};

/// The picture, in a link when a target is given.
std::string imageLink(const Image &image, const std::string &target = "");
/// A submit button that is a picture.
std::string imageButton(const std::string &name, const std::string &value, const Image &image);
/// The same, named <action>_<key>.
std::string imageActionButton(const std::string &action, const std::string &key,
                              const std::string &value, const Image &image);

/// The registry of load-time scripts; goes ahead of whatever calls addOnLoad. One that stands on
/// the page already is kept.
std::string onLoadScript();
/// A dygraph in a div of that id. `dataUrl` is a JavaScript expression for the data source,
/// `options` JavaScript properties, each followed by a comma. `id` is a JavaScript identifier.
std::string graph(const std::string &id, const std::string &dataUrl, const std::string &options);

/// Loads the script behind collapsible sections.
std::string sectionScript();
/// The body of a section, collapsed by script so that a page without scripts stays readable.
std::string sectionBody(const std::string &id, bool collapsed);
std::string closeSection();

} // namespace zandorin::ui
