#include "engine/nav_tree.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/config_text.h"
#include "platform/libzandorin/split.h"
#include "platform/libzandorin/xml_tree.h"
#include "util/exception.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <cstdlib>

namespace zandorin {

namespace {

using platform::XmlNode;

std::string attribute(const XmlNode &node, std::string_view name) {
    const std::string *value = node.attribute(name);
    return value == nullptr ? "" : platform::latin1FromUtf8(*value);
}

bool isNamed(const XmlNode &node, std::string_view name) {
    return equalsIgnoreCase(node.value, name);
}

void reportNode(const XmlNode &node) {
    logRecord(Priority::fatal, "Invalid node in navtree: %s", node.value.c_str());
}

/// Calls `use` for every child element; text and comments between them mean nothing.
template <typename Use> void eachElement(const XmlNode &parent, Use use) {
    for (const XmlNode &child : parent.children)
        if (child.kind == XmlNode::Kind::element)
            use(child);
}

/// Adds the roles that an "allow" element lists; at the tree's level other children are reported.
void loadRoles(const XmlNode &allow, utilities::Roles &roles, bool reportOthers) {
    eachElement(allow, [&](const XmlNode &child) {
        const std::string text = child.text();
        if (isNamed(child, "role"))
            roles_add_role(roles.handle(), text.c_str());
        else if (reportOthers && !text.empty())
            logRecord(Priority::fatal, "Invalid 'allow' type in navtree: %s", text.c_str());
    });
}

void loadLeaf(const XmlNode &node, NavBranch &branch) {
    NavLeaf leaf;
    leaf.id = attribute(node, "id");
    leaf.label = attribute(node, "label");
    if (node.attribute("label") == nullptr) {
        logRecord(Priority::fatal, "Invalid leaf in navtree.\n");
        return;
    }
    if (leaf.id.empty())
        return;
    leaf.file = node.attribute("file") == nullptr ? leaf.id : attribute(node, "file");
    leaf.args = attribute(node, "args");
    leaf.branchLabel = branch.label;
    leaf.hidden = node.attribute("hidden") != nullptr;
    leaf.shortcut = attribute(node, "shortcut");
    leaf.shortcutPrecedence =
        std::strtol(attribute(node, "shortcut_precedence").c_str(), nullptr, 10);
    leaf.check = attribute(node, "check");
    branch.leaves.push_back(std::move(leaf));
}

bool loadBranch(const XmlNode &node, NavBranch &branch) {
    branch.label = attribute(node, "label");
    if (branch.label.empty())
        return false;
    eachElement(node, [&](const XmlNode &child) {
        if (isNamed(child, "allow"))
            loadRoles(child, branch.roles, false);
        else if (isNamed(child, "leaf"))
            loadLeaf(child, branch);
        else
            reportNode(child);
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
    const auto bytes = readFile(appliancePath(path));
    if (!bytes)
        return -1;
    std::string fault;
    const auto document = platform::parseXml(*bytes, &fault);
    if (!document) {
        logRecord(Priority::error, "%s: %s", path.c_str(), fault.c_str());
        return -1;
    }
    if (!document->root.isElement("tree"))
        return -1;
    eachElement(document->root, [&](const XmlNode &child) {
        if (isNamed(child, "allow")) {
            loadRoles(child, roles_, true);
        } else if (child.value == "branch") {
            NavBranch branch;
            if (loadBranch(child, branch))
                branches_.push_back(std::move(branch));
        } else {
            reportNode(child);
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
            if (roles_empty(leaf.roles.get()))
                leaf.roles = branch.roles;
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
    logRecord(Priority::fatal, "Invalid check in navtree: %s", leaf.check.c_str());
    return true;
}

} // namespace zandorin
