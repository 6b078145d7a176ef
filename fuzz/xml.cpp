// XML: a document that is read is written and read the same; a bad one is refused with a line.

#include "fuzz/support/support.h"

#include "platform/libzandorin/config_text.h"

namespace zandorin::fuzz {

void requireSound(const platform::XmlNode &node, std::size_t depth) {
    const bool isElement = node.kind == platform::XmlNode::Kind::element;
    require((!isElement || depth <= 64) && node.value.find('\0') == node.value.npos);
    require(isElement ? !node.value.empty() : node.children.empty());
    for (const auto &[name, value] : node.attributes)
        require(*node.attribute(name) == value); // each name once
    for (const platform::XmlNode &child : node.children)
        requireSound(child, depth + 1);
}

void run(std::string_view input) {
    require(platform::latin1FromUtf8(platform::utf8FromLatin1(input)) == input);
    std::string error;
    const auto document = platform::parseXml(input, &error);
    require(document ? error.empty() : error.starts_with("line ") && error.find(": ") < error.npos);
    if (!document)
        return;
    requireSound(document->root, 1);
    const std::string rendered = renderXml(*document);
    const auto again = platform::parseXml(rendered);
    require(again == document && renderXml(*again) == rendered);
}

} // namespace zandorin::fuzz
