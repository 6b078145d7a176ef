#pragma once

#include "platform/libzandorin/xml_tree.h"

#include <string>
#include <string_view>
#include <vector>

/// A configuration's values in its XML tree, by key. Keys must be keys of the store (isConfigKey);
/// `root` is the element "config"; texts are UTF-8. Of several elements with one name under one
/// parent the first counts.
namespace zandorin::platform {

/// The element of `key`, null when there is none.
const XmlNode *findElement(const XmlNode &root, std::string_view key);

/// The first child element of each name, in file order.
std::vector<const XmlNode *> distinctChildren(const XmlNode &element);

/// Sets the text of the key's element, made with the elements above it when missing. Its child
/// elements, comments and attributes stay.
void setElementText(XmlNode &root, std::string_view key, std::string text);

/// Removes every element of `key` under its parent, with all below. The root stays.
void removeElement(XmlNode &root, std::string_view key);

} // namespace zandorin::platform
