#include "tests/support/html.h"

#include "platform/libzandorin/config_text.h"
#include "util/strings.h"

#include <memory>

#include <gumbo.h>

namespace zandorin::test {

namespace {

std::string tagOf(const GumboElement &element) {
    if (element.tag != GUMBO_TAG_UNKNOWN)
        return gumbo_normalized_tagname(element.tag);
    GumboStringPiece name = element.original_tag;
    gumbo_tag_from_original_text(&name);
    return {name.data, name.length};
}

template <typename Item, typename Use> void eachOf(const GumboVector &items, const Use &use) {
    for (unsigned i = 0; i < items.length; ++i)
        use(*static_cast<const Item *>(items.data[i]));
}

Element elementOf(const GumboElement &source) {
    Element element{.tag = tagOf(source)};
    eachOf<GumboAttribute>(source.attributes, [&](const GumboAttribute &attribute) {
        element.attributes.emplace_back(attribute.name, platform::latin1FromUtf8(attribute.value));
    });
    eachOf<GumboNode>(source.children, [&](const GumboNode &node) {
        if (node.type == GUMBO_NODE_ELEMENT || node.type == GUMBO_NODE_TEMPLATE) {
            element.children.push_back(elementOf(node.v.element));
            element.text += element.children.back().text;
        } else if (node.type == GUMBO_NODE_COMMENT) {
            element.children.push_back({.tag = "comment"}); // no page has one
        } else {
            element.text += platform::latin1FromUtf8(node.v.text.text);
        }
    });
    return element;
}

/// Where a browser would go: white space and control characters do not count.
std::string target(std::string address) {
    std::erase_if(address, [](char c) { return static_cast<unsigned char>(c) <= ' '; });
    const auto end = std::find_if_not(address.begin(), address.end(), [](char c) {
        return isAlphanumeric(c) || c == '+' || c == '.' || c == '-';
    });
    if (end != address.begin() && end != address.end() && *end == ':')
        return {address.begin(), end + 1};
    return address.starts_with("//") || address.starts_with("\\") ? "elsewhere" : "relative";
}

/// What is kept of an attribute beside its name.
std::string essence(std::string_view name, const std::string &value) {
    const auto isOneOf = [&](std::initializer_list<std::string_view> names) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    if (isOneOf({"href", "src", "action", "formaction", "data"}))
        return "=" + target(value);
    const bool isLive = name.starts_with("on") || isOneOf({"style", "content", "http-equiv", "type",
                                                           "rel", "target", "method"});
    return isLive ? "=" + value : "";
}

} // namespace

const std::string *Element::find(std::string_view attribute) const {
    for (const auto &[name, value] : attributes)
        if (name == attribute)
            return &value;
    return nullptr;
}

std::string Element::get(std::string_view attribute) const {
    const std::string *value = find(attribute);
    return value == nullptr ? "" : *value;
}

void Element::each(const std::function<bool(const Element &)> &visit) const {
    for (const Element &child : children)
        if (visit(child))
            child.each(visit);
}

const Element &Element::first(std::string_view wanted, std::string_view attribute,
                              std::string_view value) const {
    const Element *found = nullptr;
    each([&](const Element &element) {
        if (found == nullptr && element.tag == wanted &&
            (attribute.empty() || element.get(attribute) == value))
            found = &element;
        return found == nullptr;
    });
    return found == nullptr ? *this : *found;
}

Element parsePage(std::string_view page) {
    const std::string text = platform::utf8FromLatin1(page);
    const auto release = [](GumboOutput *output) {
        gumbo_destroy_output(&kGumboDefaultOptions, output);
    };
    const std::unique_ptr<GumboOutput, decltype(release)> output(
        gumbo_parse_with_options(&kGumboDefaultOptions, text.data(), text.size()), release);
    return elementOf(output->root->v.element);
}

std::vector<std::string> outline(const Response &response) {
    std::vector<std::string> found;
    std::istringstream lines(response.header);
    for (std::string line; std::getline(lines, line);)
        found.push_back(line.starts_with("Content-Type") ? std::string(trim(line))
                                                         : line.substr(0, line.find(':')));
    parsePage(response.body).each([&found](const Element &element) {
        std::string shape = element.tag;
        for (const auto &[name, value] : element.attributes)
            if (name != "selected" && name != "checked")
                shape += " " + name + essence(name, value);
        const bool isCode = element.tag == "script" || element.tag == "style";
        if (isCode && element.get("type") != "application/json")
            shape += " " + element.text;
        found.push_back(shape);
        return true;
    });
    return found;
}

} // namespace zandorin::test
