#include "engine/nav_tree.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/split.h"
#include "platform/libzandorin/xml_snapshot.h"
#include "util/exception.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin {

namespace {

using platform::XmlImage;
using utilities::Roles;
using Element = XmlImage::Element;

bool isNamed(const XmlImage &file, Element element, std::string_view name) {
    return equalsIgnoreCase(file.name(element), name);
}

void reportElement(const XmlImage &file, Element element) {
    logRecord(Priority::fatal, "Invalid node in navtree: %s",
              std::string(file.name(element)).c_str());
}

/// Calls `use` for every child element; text and comments between them mean nothing.
template <typename Use> void eachChild(const XmlImage &file, Element parent, Use use) {
    for (Element child = file.firstChild(parent); child != XmlImage::none; child = file.next(child))
        use(child);
}

/// Adds the roles that an "allow" element lists; at the tree's level other children are reported.
void loadRoles(const XmlImage &file, Element allow, Roles &roles, bool reportOthers) {
    eachChild(file, allow, [&](Element child) {
        const std::string text(file.text(child));
        if (isNamed(file, child, "role"))
            roles_add_role(roles.handle(), text.c_str());
        else if (reportOthers && !text.empty())
            logRecord(Priority::fatal, "Invalid 'allow' type in navtree: %s", text.c_str());
    });
}

void loadLeaf(const XmlImage &file, Element element, NavBranch &branch) {
    NavLeaf leaf;
    bool isLabelled = false;
    bool hasFile = false;
    for (Element attribute = file.firstAttribute(element); attribute != XmlImage::none;
         attribute = file.nextAttribute(attribute)) {
        const std::string_view name = file.name(attribute);
        const std::string_view text = file.text(attribute);
        isLabelled |= name == "label";
        hasFile |= name == "file";
        if (name == "id")
            leaf.id = text;
        else if (name == "label")
            leaf.label = text;
        else if (name == "file")
            leaf.file = text;
        else if (name == "args")
            leaf.args = text;
        else if (name == "hidden")
            leaf.hidden = true;
        else if (name == "shortcut")
            leaf.shortcut = text;
        else if (name == "shortcut_precedence")
            leaf.shortcutPrecedence = leadingNumber(text);
        else if (name == "check")
            leaf.check = text;
    }
    if (!isLabelled) {
        logRecord(Priority::fatal, "Invalid leaf in navtree.\n");
        return;
    }
    if (leaf.id.empty())
        return;
    if (!hasFile)
        leaf.file = leaf.id;
    leaf.branchLabel = branch.label;
    branch.leaves.push_back(leaf);
}

bool loadBranch(const XmlImage &file, Element element, NavBranch &branch) {
    branch.label = file.attribute(element, "label").value_or("");
    if (branch.label.empty())
        return false;
    eachChild(file, element, [&](Element child) {
        if (isNamed(file, child, "allow"))
            loadRoles(file, child, branch.roles, false);
        else if (isNamed(file, child, "leaf"))
            loadLeaf(file, child, branch);
        else
            reportElement(file, child);
    });
    return true;
}

bool hasIoPorts(const ConfigManager &store) {
    if (store.getElement("config.system.model").ends_with("-I"))
        return true;
    const auto options = utilities::split(store.getFactoryOption("factory_opts"), ",");
    return std::any_of(options.begin(), options.end(), [](const std::string &option) {
        return option == "sensors" || option == "ind";
    });
}

} // namespace

NavTree::NavTree(const std::string &path) {
    if (load(path) != 0)
        throw utilities::Exception("NavTree: Failed to load " + path);
}

int NavTree::load(const std::string &path) {
    std::string fault;
    auto loaded = platform::readXmlFile(appliancePath(path), "nav", fault);
    if (!loaded) {
        if (!fault.empty())
            logRecord(Priority::error, "%s: %s", path.c_str(), fault.c_str());
        return -1;
    }
    if (loaded->image.name(XmlImage::root) != "tree")
        return -1;
    file_ = std::move(loaded->image);
    roles_ = Roles();
    branches_.clear();
    const XmlImage &file = file_;
    eachChild(file, XmlImage::root, [&](Element child) {
        if (isNamed(file, child, "allow")) {
            loadRoles(file, child, roles_, true);
        } else if (file.name(child) == "branch") {
            NavBranch branch;
            if (loadBranch(file, child, branch))
                branches_.push_back(std::move(branch));
        } else {
            reportElement(file, child);
        }
    });
    inheritRoles();
    return 0;
}

void NavTree::inheritRoles() {
    for (NavBranch &branch : branches_) {
        if (roles_empty(branch.roles.get()))
            branch.roles = roles_;
        for (NavLeaf &leaf : branch.leaves)
            leaf.roles = branch.roles.get();
    }
}

bool NavTree::getNavLeaf(std::string_view id, const NavLeaf *&leafOut) const {
    for (const NavBranch &branch : branches_)
        for (const NavLeaf &leaf : branch.leaves)
            if (leaf.id == id) {
                leafOut = &leaf;
                return true;
            }
    leafOut = nullptr;
    return false;
}

bool checkLeaf(const NavLeaf &leaf, const ConfigManager &store) {
    if (leaf.check.empty())
        return true;
    if (leaf.check == "delayed_config")
        return store.getDelayedConfigMode();
    if (leaf.check == "io_ports")
        return hasIoPorts(store);
    logRecord(Priority::fatal, "Invalid check in navtree: %s", std::string(leaf.check).c_str());
    return true;
}

} // namespace zandorin
