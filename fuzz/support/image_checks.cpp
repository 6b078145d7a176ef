#include "fuzz/support/support.h"

#include "platform/libzandorin/config_text.h"

#include <set>

namespace zandorin::fuzz {

using namespace platform;
using Element = XmlImage::Element;

void requireEqual(const XmlImage &image, const XmlNode &node, Element element) {
    require(image.name(element) == latin1FromUtf8(node.value));
    require(image.text(element) == latin1FromUtf8(node.text()));
    Element attribute = image.firstAttribute(element);
    for (const auto &[name, value] : node.attributes) {
        require(image.name(attribute) == latin1FromUtf8(name));
        require(image.text(attribute) == latin1FromUtf8(value));
        attribute = image.nextAttribute(attribute);
    }
    for (const auto &[name, value] : node.attributes) {
        require(image.attribute(element, latin1FromUtf8(name)) == latin1FromUtf8(value));
        if (node.child(name) == nullptr) // an attribute is no element
            require(image.child(element, latin1FromUtf8(name)) == XmlImage::none);
    }
    require(!image.attribute(element, "<"));
    Element child = image.firstChild(element);
    std::set<std::string_view> names;
    for (const XmlNode &source : node.children) {
        if (source.kind != XmlNode::Kind::element)
            continue;
        requireEqual(image, source, child);
        if (names.insert(image.name(child)).second)
            require(image.child(element, image.name(child)) == child);
        child = image.next(child);
    }
    require(attribute == XmlImage::none && child == XmlImage::none);
}

void requireHarmless(const XmlImage &image) {
    const char *const begin = image.bytes().data();
    const char *const end = begin + image.bytes().size();
    const auto look = [&](std::string_view answer) {
        require(answer.empty() || (answer.data() >= begin && answer.data() + answer.size() <= end));
        return answer;
    };
    // Children may be shared, so each element is looked at once.
    std::set<Element> seen = {XmlImage::none};
    std::vector<Element> open = {XmlImage::root, 1, 0x7fffffff, 0x80000000, XmlImage::none - 1};
    while (!open.empty()) {
        const Element element = open.back();
        open.pop_back();
        if (!seen.insert(element).second)
            continue;
        look(image.text(element));
        image.child(element, look(image.name(element)));
        image.next(element);
        image.nextAttribute(element);
        // A step leads to a greater number, so every walk ends.
        for (Element last = element, next = image.firstAttribute(element); next != XmlImage::none;
             last = next, next = image.nextAttribute(next)) {
            require(next > last);
            look(image.attribute(element, look(image.name(next))).value_or(""));
        }
        for (Element last = element, next = image.firstChild(element); next != XmlImage::none;
             last = next, next = image.next(next)) {
            require(next > last);
            open.push_back(next);
        }
    }
}

} // namespace zandorin::fuzz
