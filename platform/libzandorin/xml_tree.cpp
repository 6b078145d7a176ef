#include "platform/libzandorin/xml_tree.h"

#include <algorithm>
#include <climits>
#include <memory>
#include <type_traits>

#include <expat.h>

namespace zandorin::platform {

namespace {

constexpr std::size_t max_depth = 64;
constexpr std::string_view white_space = " \t\r\n";
constexpr std::string_view space_attribute = "xml:space";

bool isBlank(const XmlNode &node) {
    return node.value.find_first_not_of(white_space) == std::string::npos;
}

/// True when white space in the element is text, whatever else it holds (XML 1.0, 2.10).
bool keepsSpace(const XmlNode &element) {
    const std::string *value = element.attribute(space_attribute);
    return value != nullptr && *value == "preserve";
}

/// True when the element's own text is nothing but white space beside its child elements.
bool holdsOnlyElements(const XmlNode &element) {
    bool anyElement = false;
    for (const XmlNode &child : element.children) {
        if (child.kind == XmlNode::Kind::text && !isBlank(child))
            return false;
        anyElement = anyElement || child.kind == XmlNode::Kind::element;
    }
    return anyElement;
}

/// Builds the tree from expat's events.
class Builder {
  public:
    explicit Builder(XML_Parser parser) : parser_(parser) {
        XML_SetUserData(parser, this);
        XML_SetElementHandler(
            parser,
            [](void *self, const char *name, const char **attributes) {
                static_cast<Builder *>(self)->startElement(name, attributes);
            },
            [](void *self, const char *) { static_cast<Builder *>(self)->endElement(); });
        XML_SetCharacterDataHandler(parser, [](void *self, const char *text, int length) {
            static_cast<Builder *>(self)->addText({text, static_cast<std::size_t>(length)});
        });
        XML_SetCommentHandler(parser, [](void *self, const char *text) {
            static_cast<Builder *>(self)->add(XmlNode::Kind::comment, text);
        });
        XML_SetProcessingInstructionHandler(
            parser, [](void *self, const char *target, const char *data) {
                std::string value = target;
                if (*data != '\0')
                    value.append(" ").append(data);
                static_cast<Builder *>(self)->add(XmlNode::Kind::instruction, std::move(value));
            });
        // Where nothing is declared, expat refuses every entity but XML's own five, and no
        // attribute gets a value that does not stand in the document.
        XML_SetStartDoctypeDeclHandler(parser, [](void *self, const char *, const char *external,
                                                  const char *, int hasInternalSubset) {
            if (external != nullptr || hasInternalSubset != 0)
                static_cast<Builder *>(self)->refuse("document type declarations");
        });
    }

    XmlDocument &document() { return document_; }
    /// Why the builder itself stopped the parser; null when it did not.
    const char *refusal() const { return refusal_; }

  private:
    void refuse(const char *reason) {
        refusal_ = reason;
        XML_StopParser(parser_, XML_FALSE);
    }

    XmlNode &add(XmlNode::Kind kind, std::string value) {
        std::vector<XmlNode> &siblings = !open_.empty()  ? open_.back()->children
                                         : rootHasBegun_ ? document_.after
                                                         : document_.before;
        XmlNode &node = siblings.emplace_back();
        node.kind = kind;
        node.value = std::move(value);
        return node;
    }

    void startElement(const char *name, const char **attributes) {
        if (open_.size() == max_depth)
            return refuse("elements nested too deeply");
        // A parent gets no further child while this one is open, so the pointers stay good.
        XmlNode *node = &document_.root;
        if (open_.empty())
            node->value = name;
        else
            node = &add(XmlNode::Kind::element, name);
        rootHasBegun_ = true;
        for (; *attributes != nullptr; attributes += 2)
            node->attributes.emplace_back(attributes[0], attributes[1]);
        open_.push_back(node);
    }

    void endElement() {
        XmlNode &element = *open_.back();
        if (!keepsSpace(element) && holdsOnlyElements(element))
            std::erase_if(element.children,
                          [](const XmlNode &child) { return child.kind == XmlNode::Kind::text; });
        open_.pop_back();
    }

    void addText(std::string_view text) {
        std::vector<XmlNode> &children = open_.back()->children;
        if (!children.empty() && children.back().kind == XmlNode::Kind::text)
            children.back().value += text;
        else
            add(XmlNode::Kind::text, std::string(text));
    }

    XML_Parser parser_;
    XmlDocument document_;
    std::vector<XmlNode *> open_; // from the root to the element being read
    bool rootHasBegun_ = false;
    const char *refusal_ = nullptr;
};

enum class Inside { text, attribute };

void writeEscaped(std::string &out, std::string_view text, Inside inside) {
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '\r':
            out += "&#13;";
            break; // a parser turns a bare one into a line feed
        case '"':
            out += inside == Inside::attribute ? "&quot;" : "\"";
            break;
        case '\n':
            out += inside == Inside::attribute ? "&#10;" : "\n";
            break;
        case '\t':
            out += inside == Inside::attribute ? "&#9;" : "\t";
            break;
        default:
            out += c;
        }
    }
}

enum class Layout { inLine, indented };

void writeNode(std::string &out, const XmlNode &node, Layout layout, std::size_t depth);

void writeElement(std::string &out, const XmlNode &element, Layout layout, std::size_t depth) {
    const bool onlyElements = holdsOnlyElements(element);
    // Such a text was set: what stood there for the layout alone was never read.
    const bool blankText =
        onlyElements &&
        std::any_of(element.children.begin(), element.children.end(),
                    [](const XmlNode &child) { return child.kind == XmlNode::Kind::text; });
    const auto writeAttribute = [&out](std::string_view name, std::string_view value) {
        out.append(" ").append(name).append("=\"");
        writeEscaped(out, value, Inside::attribute);
        out += '"';
    };
    out.append("<").append(element.value);
    for (const auto &[name, value] : element.attributes)
        if (!blankText || name != space_attribute)
            writeAttribute(name, value);
    if (blankText)
        writeAttribute(space_attribute, "preserve");
    if (element.children.empty()) {
        out += "/>";
        return;
    }
    out += '>';
    if (layout == Layout::indented && onlyElements && !blankText && !keepsSpace(element)) {
        for (const XmlNode &child : element.children) {
            out.append("\n").append(2 * (depth + 1), ' ');
            writeNode(out, child, layout, depth + 1);
        }
        out.append("\n").append(2 * depth, ' ');
    } else {
        // Blanks put between texts and elements would become part of the text.
        for (const XmlNode &child : element.children)
            writeNode(out, child, Layout::inLine, depth + 1);
    }
    out.append("</").append(element.value).append(">");
}

void writeNode(std::string &out, const XmlNode &node, Layout layout, std::size_t depth) {
    switch (node.kind) {
    case XmlNode::Kind::element:
        writeElement(out, node, layout, depth);
        break;
    case XmlNode::Kind::text:
        writeEscaped(out, node.value, Inside::text);
        break;
    case XmlNode::Kind::comment:
        out.append("<!--").append(node.value).append("-->");
        break;
    case XmlNode::Kind::instruction:
        out.append("<?").append(node.value).append("?>");
        break;
    }
}

} // namespace

const std::string *XmlNode::attribute(std::string_view name) const {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [name](const auto &pair) { return pair.first == name; });
    return found == attributes.end() ? nullptr : &found->second;
}

std::string XmlNode::text() const {
    std::string joined;
    for (const XmlNode &node : children)
        if (node.kind == Kind::text)
            joined += node.value;
    return joined;
}

const XmlNode *XmlNode::child(std::string_view name) const {
    const auto found = std::find_if(children.begin(), children.end(),
                                    [name](const XmlNode &node) { return node.isElement(name); });
    return found == children.end() ? nullptr : &*found;
}

XmlNode *XmlNode::child(std::string_view name) {
    return const_cast<XmlNode *>(std::as_const(*this).child(name));
}

std::optional<XmlDocument> parseXml(std::string_view bytes, std::string *error) {
    if (bytes.size() > INT_MAX) {
        if (error != nullptr)
            *error = "line 1: document too large";
        return std::nullopt;
    }
    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, void (*)(XML_Parser)> parser(
        XML_ParserCreate(nullptr), XML_ParserFree);
    if (parser == nullptr) {
        if (error != nullptr)
            *error = "line 1: out of memory";
        return std::nullopt;
    }
    Builder builder(parser.get());
    if (XML_Parse(parser.get(), bytes.data(), static_cast<int>(bytes.size()), XML_TRUE) !=
        XML_STATUS_OK) {
        if (error != nullptr) {
            const char *reason = builder.refusal();
            if (reason == nullptr)
                reason = XML_ErrorString(XML_GetErrorCode(parser.get()));
            *error =
                "line " + std::to_string(XML_GetCurrentLineNumber(parser.get())) + ": " + reason;
        }
        return std::nullopt;
    }
    return std::move(builder.document());
}

std::string renderXml(const XmlDocument &document) {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    const auto writeLine = [&out](const XmlNode &node) {
        writeNode(out, node, Layout::indented, 0);
        out += '\n';
    };
    std::for_each(document.before.begin(), document.before.end(), writeLine);
    writeLine(document.root);
    std::for_each(document.after.begin(), document.after.end(), writeLine);
    return out;
}

} // namespace zandorin::platform
