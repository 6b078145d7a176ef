#pragma once

#include "platform/libzandorin/xml_image.h"
#include "platform/libzandorin/xml_tree.h"

#include <string>
#include <string_view>
#include <vector>

/// A configuration's values by key: looked up in the file's image, changed in its tree. Keys must
/// be keys of the store (isConfigKey); the root is the element "config". Of several elements with
/// one name under one parent the first counts.
namespace zandorin::platform {

/// The element of `key`, none when there is none.
XmlImage::Element findElement(const XmlImage &image, std::string_view key);

/// The value of `key`, "" when there is none; valid as long as the image is.
std::string_view valueOf(const XmlImage &image, std::string_view key);

/// The first child element of each name, in file order.
std::vector<XmlImage::Element> distinctChildren(const XmlImage &image, XmlImage::Element element);

/// The element of `key` in a tree, null when there is none; its text is UTF-8.
const XmlNode *findElement(const XmlNode &root, std::string_view key);

/// Sets the text (UTF-8) of the key's element, made with the elements above it when missing. Its
/// child elements, comments and attributes stay.
void setElementText(XmlNode &root, std::string_view key, std::string text);

/// Removes every element of `key` under its parent, with all below. The root stays.
void removeElement(XmlNode &root, std::string_view key);

} // namespace zandorin::platform
