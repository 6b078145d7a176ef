#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zandorin::platform {

/// One node of an XML document, as read by expat: an element with its children in file order, or a
/// text, a comment or a processing instruction between them. All strings are UTF-8.
struct XmlNode {
    enum class Kind { element, text, comment, instruction };

    Kind kind = Kind::element;
    /// Element: its name. Text and comment: the characters. Instruction: target, blank, data.
    std::string value;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<XmlNode> children;

    bool operator==(const XmlNode &) const = default;

    bool isElement(std::string_view name) const { return kind == Kind::element && value == name; }

    /// The attribute's value, null when the element has none of that name.
    const std::string *attribute(std::string_view name) const;

    /// The element's own text: its text children joined, white space kept.
    std::string text() const;

    /// The first child element of that name, null when there is none.
    const XmlNode *child(std::string_view name) const;
    XmlNode *child(std::string_view name);
};

/// A document: what stands before the root element (comments, instructions), the root, what
/// stands after it.
struct XmlDocument {
    std::vector<XmlNode> before;
    XmlNode root;
    std::vector<XmlNode> after;

    bool operator==(const XmlDocument &) const = default;
};

/// Parses a whole document, strictly: none when it is not well-formed, is nested deeper than 64
/// elements, or has a document type with declarations of its own or elsewhere. `error`, when given,
/// then receives "line N: reason". White space between elements is left out, but not in an element
/// with xml:space="preserve".
std::optional<XmlDocument> parseXml(std::string_view bytes, std::string *error = nullptr);

/// The document as UTF-8 bytes with an XML declaration. White space between elements is laid out
/// anew, two blanks a level; text of elements without child elements is written as it is. An
/// element whose text beside child elements is white space gets xml:space="preserve".
std::string renderXml(const XmlDocument &document);

} // namespace zandorin::platform
