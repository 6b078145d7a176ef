#include "platform/libzandorin/xml_image.h"

#include "platform/libzandorin/config_text.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <unordered_map>
#include <utility>
#include <vector>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zandorin::platform {

namespace {

/// What stands first. The strings follow the rest and end with the image.
struct Header {
    std::uint32_t nodes;
    std::uint32_t strings;
};

/// Up to here reading is cheaper than mapping, which costs as much as some pages of memory.
constexpr std::size_t longest_read = 16384;

/// First character of a stored name. Attributes of a node stand before its child elements.
constexpr char element_mark = '<';
constexpr char attribute_mark = '@';

/// In Node::children: the node is its parent's last child.
constexpr std::uint32_t last_child = 0x80000000;

template <typename Value> Value valueAt(std::string_view bytes, std::size_t offset) {
    Value value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

} // namespace

/// Elements and attributes alike. They stand level by level, so that the children of a node lie
/// side by side, and what is looked up together lies in few pages.
struct XmlImage::Node {
    std::uint32_t name = 0; // offsets into the strings
    std::uint32_t text = 0;
    Element firstChild = none;
    std::uint32_t children = 0; // their number, and last_child
};

/// The numbers from `first` on, up to `end`.
struct XmlImage::Range {
    Element first;
    Element end;
};

class XmlImage::Builder {
  public:
    explicit Builder(const XmlNode &document) {
        add(element_mark, document.value, document.text(), &document);
        nodes_.front().children |= last_child;
        for (std::size_t element = 0; element < nodes_.size(); ++element)
            if (sources_[element] != nullptr)
                addChildren(element, *sources_[element]);
    }

    std::string bytes() const {
        const Header header = {static_cast<std::uint32_t>(nodes_.size()),
                               static_cast<std::uint32_t>(strings_.size())};
        const std::vector<Element> sorted = sortedChildren();
        std::string bytes;
        bytes.reserve(sizeof header + nodes_.size() * (sizeof(Node) + sizeof(Element)) +
                      strings_.size());
        append(bytes, &header, sizeof header);
        append(bytes, nodes_.data(), nodes_.size() * sizeof(Node));
        append(bytes, sorted.data(), sorted.size() * sizeof(Element));
        return bytes += strings_;
    }

  private:
    static void append(std::string &bytes, const void *data, std::size_t size) {
        bytes.append(static_cast<const char *>(data), size);
    }

    /// Each string once: names, and most values, come again and again.
    std::uint32_t intern(std::string text) {
        const auto [place, isNew] =
            places_.try_emplace(std::move(text), static_cast<std::uint32_t>(strings_.size()));
        if (isNew)
            strings_.append(place->first.c_str(), place->first.size() + 1);
        return place->second;
    }

    void add(char mark, const std::string &name, const std::string &text, const XmlNode *source) {
        nodes_.push_back(
            {intern(mark + latin1FromUtf8(name)), intern(latin1FromUtf8(text)), none, 0});
        sources_.push_back(source);
    }

    void addChildren(std::size_t parent, const XmlNode &source) {
        const std::size_t first = nodes_.size();
        for (const auto &[name, value] : source.attributes)
            add(attribute_mark, name, value, nullptr);
        for (const XmlNode &child : source.children)
            if (child.kind == XmlNode::Kind::element)
                add(element_mark, child.value, child.text(), &child);
        if (nodes_.size() == first)
            return;
        nodes_[parent].firstChild = static_cast<Element>(first);
        nodes_[parent].children |= static_cast<std::uint32_t>(nodes_.size() - first);
        nodes_.back().children |= last_child;
    }

    /// The children of each node by name, where their own numbers stand; of one name, the first
    /// comes first.
    std::vector<Element> sortedChildren() const {
        std::vector<Element> sorted(nodes_.size());
        std::iota(sorted.begin(), sorted.end(), Element{0});
        const auto name = [this](Element element) {
            return std::string_view(strings_.data() + nodes_[element].name);
        };
        auto first = sorted.begin();
        for (auto next = first; next != sorted.end();) {
            const bool isLast = (nodes_[*next++].children & last_child) != 0;
            if (!isLast)
                continue;
            std::stable_sort(first, next,
                             [&name](Element a, Element b) { return name(a) < name(b); });
            first = next;
        }
        return sorted;
    }

    std::vector<Node> nodes_;
    std::vector<const XmlNode *> sources_;       // null of an attribute
    std::string strings_ = std::string(1, '\0'); // the empty string stands at 0
    std::unordered_map<std::string, std::uint32_t> places_ = {{"", 0}};
};

XmlImage::XmlImage(const XmlNode &document) : owned_(Builder(document).bytes()) {
    adopt(0);
}

XmlImage::XmlImage(XmlImage &&other) noexcept {
    *this = std::move(other);
}

XmlImage &XmlImage::operator=(XmlImage &&other) noexcept {
    if (this == &other)
        return *this;
    unmap();
    owned_ = std::exchange(other.owned_, {});
    mapped_ = std::exchange(other.mapped_, {});
    offset_ = std::exchange(other.offset_, 0);
    bytes_ = whole().substr(offset_);
    nodeCount_ = std::exchange(other.nodeCount_, 0);
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

std::optional<XmlImage> XmlImage::open(int fd, std::size_t offset) {
    struct stat status = {};
    if (::fstat(fd, &status) != 0 || status.st_size <= static_cast<off_t>(offset) ||
        static_cast<std::uint64_t>(status.st_size) > SIZE_MAX)
        return std::nullopt;
    const auto size = static_cast<std::size_t>(status.st_size);
    XmlImage image;
    if (size <= longest_read) {
        image.owned_.resize(size);
        if (::pread(fd, image.owned_.data(), size, 0) != static_cast<ssize_t>(size))
            return std::nullopt;
    } else {
        const void *start = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
        if (start == MAP_FAILED)
            return std::nullopt;
        image.mapped_ = {static_cast<const char *>(start), size};
    }
    if (!image.adopt(offset))
        return std::nullopt;
    return image;
}

/// Of the whole, what begins at `offset`; false when that is no image.
bool XmlImage::adopt(std::size_t offset) {
    const std::string_view bytes = whole().substr(offset);
    if (bytes.size() < sizeof(Header))
        return false;
    const auto header = valueAt<Header>(bytes, 0);
    const std::uint64_t size = sizeof header +
                               std::uint64_t{header.nodes} * (sizeof(Node) + sizeof(Element)) +
                               header.strings;
    if (size != bytes.size() || header.nodes == 0 || header.strings == 0 || bytes.back() != '\0')
        return false;
    offset_ = offset;
    bytes_ = bytes;
    nodeCount_ = header.nodes;
    return true;
}

XmlImage::Node XmlImage::at(Element element) const {
    if (element >= nodeCount_)
        return {};
    return valueAt<Node>(bytes_, sizeof(Header) + element * sizeof(Node));
}

XmlImage::Element XmlImage::sortedAt(Element position) const {
    return valueAt<Element>(bytes_, sizeof(Header) + nodeCount_ * sizeof(Node) +
                                        position * sizeof(Element));
}

/// Ends with a zero.
const char *XmlImage::stringAt(std::uint32_t offset) const {
    if (bytes_.empty())
        return "";
    const std::size_t strings = sizeof(Header) + nodeCount_ * (sizeof(Node) + sizeof(Element));
    // The last byte is a zero: a string ends there at the latest.
    return offset < bytes_.size() - strings ? bytes_.data() + strings + offset : "";
}

const char *XmlImage::markedName(Element element) const {
    return stringAt(at(element).name);
}

XmlImage::Range XmlImage::childrenOf(Element element) const {
    const Node parent = at(element);
    const std::uint32_t count = parent.children & ~last_child;
    // Children stand behind their parent, so that every walk ends.
    if (count == 0 || element >= nodeCount_ || parent.firstChild <= element ||
        parent.firstChild >= nodeCount_ || count > nodeCount_ - parent.firstChild)
        return {none, none};
    return {parent.firstChild, parent.firstChild + count};
}

XmlImage::Element XmlImage::find(Element parent, char mark, std::string_view name) const {
    // Below zero when the child's name comes first.
    const auto compare = [&](Element position) {
        const char *stored = markedName(sortedAt(position));
        return *stored != mark ? *stored - mark : std::string_view(stored + 1).compare(name);
    };
    const Range children = childrenOf(parent);
    Element low = children.first;
    for (Element high = children.end; low < high;) {
        const Element middle = low + (high - low) / 2;
        if (compare(middle) < 0)
            low = middle + 1;
        else
            high = middle;
    }
    return low < children.end && compare(low) == 0 ? sortedAt(low) : none;
}

XmlImage::Element XmlImage::child(Element parent, std::string_view name) const {
    return find(parent, element_mark, name);
}

/// From `element` on, the first sibling of that mark.
XmlImage::Element XmlImage::skipTo(char mark, Element element) const {
    while (element < nodeCount_ && *markedName(element) != mark) {
        if ((at(element).children & last_child) != 0)
            return none;
        ++element;
    }
    return element < nodeCount_ ? element : none;
}

XmlImage::Element XmlImage::firstChild(Element parent) const {
    return skipTo(element_mark, childrenOf(parent).first);
}

XmlImage::Element XmlImage::next(Element element) const {
    const bool isLast = element >= nodeCount_ || (at(element).children & last_child) != 0;
    return isLast ? none : skipTo(element_mark, element + 1);
}

XmlImage::Element XmlImage::firstAttribute(Element element) const {
    const Element first = childrenOf(element).first;
    return *markedName(first) == attribute_mark ? first : none;
}

XmlImage::Element XmlImage::nextAttribute(Element attribute) const {
    const bool isLast = attribute >= nodeCount_ || (at(attribute).children & last_child) != 0;
    return !isLast && *markedName(attribute + 1) == attribute_mark ? attribute + 1 : none;
}

std::string_view XmlImage::name(Element element) const {
    const char *stored = markedName(element);
    return *stored == '\0' ? stored : stored + 1;
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
