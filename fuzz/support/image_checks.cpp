#include "fuzz/support/support.h"

#include "platform/libzandorin/config_text.h"

#include <set>

namespace zandorin::fuzz {

using namespace platform;
using Element = XmlImage::Element;

void requireEqual(const XmlImage &image, const XmlNode &node, Element element) {
    const auto requirePair = [&image](Element at, const std::string &name,
                                      const std::string &text) {
        require(image.name(at) == latin1FromUtf8(name) && image.text(at) == latin1FromUtf8(text));
    };
    requirePair(element, node.value, node.text());
    Element attribute = image.firstAttribute(element);
    for (const auto &[name, value] : node.attributes) {
        requirePair(attribute, name, value);
        attribute = image.nextAttribute(attribute);
    }
    require(attribute == XmlImage::none);

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
    require(child == XmlImage::none);
}

void requireHarmless(const XmlImage &image) {
    const std::string_view bytes = image.bytes();
    const auto look = [bytes](std::string_view answer) {
        require(answer.empty() || (answer.data() >= bytes.data() &&
                                   answer.data() + answer.size() <= bytes.data() + bytes.size()));
        return answer;
    };
    // Children may be shared, so each element is looked at once.
    std::set<Element> seen = {XmlImage::none};
    std::vector<Element> open = {XmlImage::root, 1, 0x7fffffff, 0x80000000, XmlImage::none - 1};
    while (!open.empty()) {
        Element element = open.back();
        open.pop_back();
        if (!seen.insert(element).second)
            continue;
        look(image.text(element));
        image.child(element, look(image.name(element)));
        image.next(element);
        image.nextAttribute(element);
        // Each step goes on to a greater number, so every walk ends.
        Element last = element;
        for (Element next = image.firstAttribute(element); next != XmlImage::none;
             next = image.nextAttribute(next)) {
            require(next > std::exchange(last, next));
            look(image.attribute(element, look(image.name(next))).value_or(""));
        }
        last = element;
        for (Element next = image.firstChild(element); next != XmlImage::none;
             next = image.next(next)) {
            require(next > std::exchange(last, next));
            open.push_back(next);
        }
    }
}

} // namespace zandorin::fuzz
