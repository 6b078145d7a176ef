#pragma once

#include "tests/support/request_test.h"

#include <functional>

namespace zandorin::test {

/// An element of a page, made of it as a browser does (HTML Living Standard, 13.2). Texts are
/// ISO-8859-1, with their character references resolved.
struct Element {
    std::string tag = "";
    std::vector<std::pair<std::string, std::string>> attributes = {};
    std::string text = ""; ///< its own and that of everything in it
    std::vector<Element> children = {};

    /// Null without it.
    const std::string *find(std::string_view attribute) const;
    std::string get(std::string_view attribute) const;

    /// Calls `visit` for everything in it, in order; where that answers false, for nothing in
    /// there.
    void each(const std::function<bool(const Element &)> &visit) const;
    /// The first element in it of that tag, whose attribute is that, where one is given; its own
    /// when there is none.
    const Element &first(std::string_view tag, std::string_view attribute = "",
                         std::string_view value = "") const;
};

/// The element "html".
Element parsePage(std::string_view page);

/// What in an answer a browser would act upon, and nothing of its texts: the names of the header
/// lines and the type of the content; each element in order with the names of its attributes, but
/// for what is chosen; whole what is code (scripts, styles, event handlers); where an address leads
/// ("relative", "elsewhere", or its scheme).
std::vector<std::string> outline(const Response &response);

} // namespace zandorin::test
