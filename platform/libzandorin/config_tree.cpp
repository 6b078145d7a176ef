#include "platform/libzandorin/config_tree.h"

#include "platform/libzandorin/config_text.h"

namespace zandorin::platform {

namespace {

XmlNode makeNode(XmlNode::Kind kind, std::string value) {
    XmlNode node;
    node.kind = kind;
    node.value = std::move(value);
    return node;
}

} // namespace

XmlImage::Element findElement(const XmlImage &image, std::string_view key) {
    takeSegment(key);
    XmlImage::Element element = XmlImage::root;
    while (element != XmlImage::none && !key.empty())
        element = image.child(element, takeSegment(key));
    return element;
}

std::string_view valueOf(const XmlImage &image, std::string_view key) {
    return image.text(findElement(image, key));
}

std::vector<XmlImage::Element> distinctChildren(const XmlImage &image, XmlImage::Element element) {
    std::vector<XmlImage::Element> found;
    for (auto child = image.firstChild(element); child != XmlImage::none; child = image.next(child))
        if (image.child(element, image.name(child)) == child)
            found.push_back(child);
    return found;
}

const XmlNode *findElement(const XmlNode &root, std::string_view key) {
    takeSegment(key);
    const XmlNode *element = &root;
    while (element != nullptr && !key.empty())
        element = element->child(takeSegment(key));
    return element;
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
