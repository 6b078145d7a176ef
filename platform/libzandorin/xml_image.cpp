#include "platform/libzandorin/xml_image.h"

#include "platform/libzandorin/config_text.h"

#include <bit>
#include <cstring>
#include <unordered_map>
#include <utility>
#include <vector>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zandorin::platform {

namespace {

/// What stands first. The strings follow nodes and slots and end with the image.
struct Header {
    std::uint32_t nodes;
    std::uint32_t slots; // a power of two
    std::uint32_t strings;
    std::uint32_t zero;
};

/// First character of a stored name.
constexpr char element_mark = '<';
constexpr char attribute_mark = '@';

/// FNV-1a, 32 bits, over the parent's number and the name with its mark.
std::uint32_t hashOf(XmlImage::Element parent, char mark, std::string_view name) {
    constexpr std::uint32_t prime = 16777619;
    std::uint32_t hash = (2166136261U ^ parent) * prime;
    hash = (hash ^ static_cast<unsigned char>(mark)) * prime;
    for (const char c : name)
        hash = (hash ^ static_cast<unsigned char>(c)) * prime;
    return hash ^ hash >> 15;
}

template <typename Value> Value valueAt(std::string_view bytes, std::size_t offset) {
    Value value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

} // namespace

/// Elements and attributes alike; an attribute is a child that is no element.
struct XmlImage::Node {
    Element parent = none;
    Element firstChild = none;
    Element next = none;    // sibling; always a greater number
    std::uint32_t name = 0; // offsets into the strings
    std::uint32_t text = 0;
};

class XmlImage::Builder {
  public:
    explicit Builder(const XmlNode &document) { add(none, element_mark, document); }

    std::string bytes() const {
        std::uint32_t slotCount = std::bit_ceil(static_cast<std::uint32_t>(nodes_.size()) * 2);
        std::vector<Element> slots(slotCount, none);
        for (Element element = 0; element < nodes_.size(); ++element) {
            const Node &node = nodes_[element];
            const std::string_view name = strings_.data() + node.name;
            std::uint32_t slot = hashOf(node.parent, name.front(), name.substr(1));
            while (slots[slot & (slotCount - 1)] != none)
                ++slot;
            slots[slot & (slotCount - 1)] = element;
        }
        const Header header = {static_cast<std::uint32_t>(nodes_.size()), slotCount,
                               static_cast<std::uint32_t>(strings_.size()), 0};
        std::string bytes;
        bytes.reserve(sizeof header + nodes_.size() * sizeof(Node) +
                      slots.size() * sizeof(Element) + strings_.size());
        append(bytes, &header, sizeof header);
        append(bytes, nodes_.data(), nodes_.size() * sizeof(Node));
        append(bytes, slots.data(), slots.size() * sizeof(Element));
        return bytes += strings_;
    }

  private:
    static void append(std::string &bytes, const void *data, std::size_t size) {
        bytes.append(static_cast<const char *>(data), size);
    }

    /// Each string once: names, and most values, come again and again.
    std::uint32_t intern(std::string text) {
        const auto [place, isNew] =
            places_.try_emplace(text, static_cast<std::uint32_t>(strings_.size()));
        if (isNew)
            strings_.append(text.c_str(), text.size() + 1);
        return place->second;
    }

    Element addNode(Element parent, const std::string &name, std::string text) {
        const auto element = static_cast<Element>(nodes_.size());
        nodes_.push_back({parent, none, none, intern(name), intern(std::move(text))});
        return element;
    }

    Element add(Element parent, char mark, const XmlNode &from) {
        const Element element =
            addNode(parent, mark + latin1FromUtf8(from.value), latin1FromUtf8(from.text()));
        Element last = none;
        const auto link = [&](Element child) {
            (last == none ? nodes_[element].firstChild : nodes_[last].next) = child;
            last = child;
        };
        for (const auto &[name, value] : from.attributes)
            link(addNode(element, attribute_mark + latin1FromUtf8(name), latin1FromUtf8(value)));
        for (const XmlNode &child : from.children)
            if (child.kind == XmlNode::Kind::element)
                link(add(element, element_mark, child));
        return element;
    }

    std::vector<Node> nodes_;
    std::string strings_ = std::string(1, '\0'); // the empty string stands at 0
    std::unordered_map<std::string, std::uint32_t> places_ = {{"", 0}};
};

XmlImage::XmlImage(const XmlNode &document) : owned_(Builder(document).bytes()) {
    adopt(owned_);
}

XmlImage::XmlImage(XmlImage &&other) noexcept {
    *this = std::move(other);
}

XmlImage &XmlImage::operator=(XmlImage &&other) noexcept {
    if (this == &other)
        return *this;
    unmap();
    const bool isOwned = other.mapped_.empty();
    owned_ = std::move(other.owned_);
    mapped_ = std::exchange(other.mapped_, {});
    bytes_ = isOwned ? std::string_view(owned_) : other.bytes_;
    nodeCount_ = std::exchange(other.nodeCount_, 0);
    slotCount_ = std::exchange(other.slotCount_, 0);
    other.owned_.clear();
    other.bytes_ = {};
    return *this;
}

XmlImage::~XmlImage() {
    unmap();
}

void XmlImage::unmap() {
    if (!mapped_.empty())
        ::munmap(const_cast<char *>(mapped_.data()), mapped_.size());
    mapped_ = {};
}

std::optional<XmlImage> XmlImage::map(int fd, std::size_t offset) {
    struct stat status = {};
    if (::fstat(fd, &status) != 0 || status.st_size <= static_cast<off_t>(offset) ||
        static_cast<std::uint64_t>(status.st_size) > SIZE_MAX)
        return std::nullopt;
    const auto size = static_cast<std::size_t>(status.st_size);
    const void *start = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (start == MAP_FAILED)
        return std::nullopt;
    XmlImage image;
    image.mapped_ = {static_cast<const char *>(start), size};
    if (!image.adopt(image.mapped_.substr(offset)))
        return std::nullopt;
    return image;
}

bool XmlImage::adopt(std::string_view bytes) {
    if (bytes.size() < sizeof(Header))
        return false;
    const auto header = valueAt<Header>(bytes, 0);
    const std::uint64_t size = sizeof header + std::uint64_t{header.nodes} * sizeof(Node) +
                               std::uint64_t{header.slots} * sizeof(Element) + header.strings;
    if (size != bytes.size() || header.nodes == 0 || !std::has_single_bit(header.slots) ||
        header.strings == 0 || bytes.back() != '\0')
        return false;
    bytes_ = bytes;
    nodeCount_ = header.nodes;
    slotCount_ = header.slots;
    return true;
}

XmlImage::Node XmlImage::at(Element element) const {
    if (element >= nodeCount_)
        return {};
    return valueAt<Node>(bytes_, sizeof(Header) + element * sizeof(Node));
}

std::string_view XmlImage::stringAt(std::uint32_t offset) const {
    if (bytes_.empty())
        return {};
    const std::size_t strings =
        sizeof(Header) + nodeCount_ * sizeof(Node) + slotCount_ * sizeof(Element);
    // The last byte is a zero: a string ends there at the latest.
    return offset < bytes_.size() - strings ? bytes_.data() + strings + offset : "";
}

XmlImage::Element XmlImage::find(Element parent, char kind, std::string_view name) const {
    const std::size_t slots = sizeof(Header) + nodeCount_ * sizeof(Node);
    std::uint32_t slot = hashOf(parent, kind, name);
    for (std::uint32_t probes = 0; probes < slotCount_; ++probes, ++slot) {
        const auto element =
            valueAt<Element>(bytes_, slots + (slot & (slotCount_ - 1)) * sizeof(Element));
        if (element >= nodeCount_)
            break;
        const Node found = at(element);
        const std::string_view stored = stringAt(found.name);
        if (found.parent == parent && !stored.empty() && stored.front() == kind &&
            stored.substr(1) == name)
            return element;
    }
    return none;
}

XmlImage::Element XmlImage::child(Element parent, std::string_view name) const {
    return find(parent, element_mark, name);
}

bool XmlImage::isElement(Element node) const {
    return stringAt(at(node).name).starts_with(element_mark);
}

XmlImage::Element XmlImage::nextNode(Element node) const {
    const Element following = at(node).next;
    return following > node && following < nodeCount_ ? following : none;
}

XmlImage::Element XmlImage::skipAttributes(Element node) const {
    while (node < nodeCount_ && !isElement(node))
        node = nextNode(node);
    return node;
}

XmlImage::Element XmlImage::firstChild(Element parent) const {
    const Element first = at(parent).firstChild;
    return first > parent ? skipAttributes(first) : none; // forward only, so that every walk ends
}

XmlImage::Element XmlImage::next(Element element) const {
    return skipAttributes(nextNode(element));
}

XmlImage::Element XmlImage::firstAttribute(Element element) const {
    const Element first = at(element).firstChild;
    return first > element && first < nodeCount_ && !isElement(first) ? first : none;
}

XmlImage::Element XmlImage::nextAttribute(Element attribute) const {
    const Element following = nextNode(attribute);
    return following != none && !isElement(following) ? following : none;
}

std::string_view XmlImage::name(Element element) const {
    const std::string_view stored = stringAt(at(element).name);
    return stored.substr(stored.empty() ? 0 : 1);
}

std::string_view XmlImage::text(Element element) const {
    return stringAt(at(element).text);
}

std::optional<std::string_view> XmlImage::attribute(Element element, std::string_view name) const {
    const Element found = find(element, attribute_mark, name);
    if (found == none)
        return std::nullopt;
    return text(found);
}

} // namespace zandorin::platform
