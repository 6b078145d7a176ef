#pragma once

#include "platform/libzandorin/xml_image.h"
#include "platform/libzdsupport/roles.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin {

class ConfigManager;

/// One form of the user interface. Its texts and roles are the tree's, and last as long.
struct NavLeaf {
    std::string_view id;          ///< form id, the request variable "form"
    std::string_view file;        ///< base name of the form's templates and key of its formlet
    std::string_view args;        ///< for forms that read them
    std::string_view label;       ///< shown on the page and in the panel
    std::string_view branchLabel; ///< page heading
    bool hidden = false;          ///< left out of the panel
    std::string_view shortcut;    ///< text in the shortcut row, "" for none
    std::int64_t shortcutPrecedence = 0;
    std::string_view check;  ///< condition to be offered, see checkLeaf
    roles_t roles = nullptr; ///< the branch's
};

struct NavBranch {
    std::string_view label;
    utilities::Roles roles;
    std::vector<NavLeaf> leaves;
};

/// The navigation tree of /home/httpd/nav.xml: the forms in branches, with the roles that may open
/// each. Texts are ISO-8859-1, as pages are. docs/navigation.md describes the file.
class NavTree {
  public:
    /// Empty.
    NavTree() = default;
    /// Loads at once; throws utilities::Exception when that fails.
    explicit NavTree(const std::string &path);

    /// Loads the appliance's file `path`. 0, or -1 when it cannot be read or parsed or its root is
    /// not "tree"; the tree then keeps what it holds. Otherwise it holds what the file says; bad
    /// elements are logged and skipped.
    int load(const std::string &path);

    /// The first leaf of that id, byte for byte. False, with leafOut null, when there is none. The
    /// leaf belongs to the tree.
    bool getNavLeaf(std::string_view id, const NavLeaf *&leafOut) const;

    const std::vector<NavBranch> &branches() const { return branches_; }
    /// Roles of the tree itself, for forms that no leaf names.
    roles_t roles() const { return roles_.get(); }

  private:
    void inheritRoles();

    platform::XmlImage file_; // holds the texts
    utilities::Roles roles_;
    std::vector<NavBranch> branches_;
};

/// True when the leaf is to be offered on this appliance, as its "check" says.
bool checkLeaf(const NavLeaf &leaf, const ConfigManager &store);

} // namespace zandorin
