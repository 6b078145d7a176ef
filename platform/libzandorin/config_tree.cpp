#include "platform/libzandorin/config_tree.h"

#include "platform/libzandorin/config_text.h"

#include <unordered_set>

namespace zandorin::platform {

namespace {

XmlNode makeNode(XmlNode::Kind kind, std::string value) {
    XmlNode node;
    node.kind = kind;
    node.value = std::move(value);
    return node;
}

} // namespace

const XmlNode *findElement(const XmlNode &root, std::string_view key) {
    takeSegment(key);
    const XmlNode *element = &root;
    while (element != nullptr && !key.empty())
        element = element->child(takeSegment(key));
    return element;
}

std::vector<const XmlNode *> distinctChildren(const XmlNode &element) {
    std::vector<const XmlNode *> found;
    std::unordered_set<std::string_view> names;
    for (const XmlNode &child : element.children)
        if (child.kind == XmlNode::Kind::element && names.insert(child.value).second)
            found.push_back(&child);
    return found;
}

void setElementText(XmlNode &root, std::string_view key, std::string text) {
    takeSegment(key);
    XmlNode *element = &root;
    while (!key.empty()) {
        const std::string_view name = takeSegment(key);
        XmlNode *child = element->child(name);
        if (child == nullptr)
            child = &element->children.emplace_back(
                makeNode(XmlNode::Kind::element, std::string(name)));
        element = child;
    }
    std::erase_if(element->children,
                  [](const XmlNode &node) { return node.kind == XmlNode::Kind::text; });
    if (!text.empty())
        element->children.insert(element->children.begin(),
                                 makeNode(XmlNode::Kind::text, std::move(text)));
}

void removeElement(XmlNode &root, std::string_view key) {
    const auto dot = key.rfind('.');
    if (dot == std::string_view::npos)
        return;
    // Nobody else sees the root as constant: it is ours to change.
    auto *parent = const_cast<XmlNode *>(findElement(root, key.substr(0, dot)));
    if (parent != nullptr)
        std::erase_if(parent->children, [name = key.substr(dot + 1)](const XmlNode &node) {
            return node.isElement(name);
        });
}

} // namespace zandorin::platform
