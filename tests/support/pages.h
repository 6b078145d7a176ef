#pragma once

#include "tests/support/html.h"

namespace zandorin::test {

/// One field of a page as a browser has it.
struct PageField {
    std::string name;
    std::string kind; ///< "text", "password", "checkbox", "radio", "select", "textarea", "hidden"
    std::string value = ""; ///< what it would send; of a check box: when it is checked
    bool checked = false;   ///< of a check box
    std::vector<std::string> options = {}; ///< values of a menu or of radio buttons
    /// Of an unsafe input: the stored value shown beside it.
    std::string current = "";
};

/// The fields of a page, or of its form of that name, in their order; buttons are left out, radio
/// buttons of one name are one. Of the panels of which a person sees one, with a type only its own.
std::vector<PageField> readFields(const std::string &page, const std::string &form = "",
                                  const std::string &type = "");

/// The elements that a page in debug mode says it has: name and type.
std::map<std::string, std::string> readElements(const std::string &page);

/// A row of docs/configuration.md: a key with typical names in place of its place holders, its
/// type, and the page it stands under ("" for none).
struct DocumentedKey {
    std::string key;
    std::string type;
    std::string page;
};
std::vector<DocumentedKey> documentedKeys();

/// Ids of the pages that it has keys of.
std::set<std::string> settingsPages();

/// The query that opens the form of a page: of one with a place for each serial port that of the
/// first.
std::string formQuery(const std::string &page);

/// Form ids of the navigation tree that the release has.
std::vector<std::string> navigationLeaves();

/// A page's id as the name of a test, which is made of letters, digits and "_".
std::string testName(std::string words);

} // namespace zandorin::test
