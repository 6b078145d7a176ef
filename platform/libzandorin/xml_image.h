#pragma once

#include "platform/libzandorin/xml_tree.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zandorin::platform {

/// The elements of an XML document as one run of bytes, to be looked at where it lies: a process
/// that maps it pays for the elements it asks for, not for the document. Names, attributes and
/// texts are ISO-8859-1 (see latin1FromUtf8); comments and instructions are left out. It is made
/// for the machine it was made on: numbers are 32 bits in this machine's byte order.
///
/// Every offset is checked when it is followed: of bytes that are no image the answers are wrong,
/// but nothing outside of them is read.
class XmlImage {
  public:
    /// An element or an attribute; 0 is the root.
    using Element = std::uint32_t;
    static constexpr Element root = 0;
    static constexpr Element none = 0xffffffff;

    /// Holds nothing: the root has no name, and nothing is found.
    XmlImage() = default;
    explicit XmlImage(const XmlNode &document);
    XmlImage(XmlImage &&other) noexcept;
    XmlImage &operator=(XmlImage &&other) noexcept;
    XmlImage(const XmlImage &) = delete;
    XmlImage &operator=(const XmlImage &) = delete;
    ~XmlImage();

    /// The image that stands in the open file from the byte `offset` (a multiple of 8) to the end.
    /// A long one is mapped, not read: the file may be replaced meanwhile, but must not be written
    /// in place. None when the lengths do not fit together.
    static std::optional<XmlImage> open(int fd, std::size_t offset);

    /// What stands before the opened image in its file; valid as long as the image is.
    std::string_view preface() const { return whole().substr(0, offset_); }

    /// What open() finds again; valid as long as the image is.
    std::string_view bytes() const { return bytes_; }

    /// The first child element of that name, none when there is none.
    Element child(Element parent, std::string_view name) const;
    /// Child elements in the document's order, each name as often as it stands there: the first,
    /// and the one that follows.
    Element firstChild(Element parent) const;
    Element next(Element element) const;

    /// Attributes, to be named and read as elements are: the first, and the one that follows.
    Element firstAttribute(Element element) const;
    Element nextAttribute(Element attribute) const;

    std::string_view name(Element element) const;
    /// The element's own text: its texts joined, white space kept.
    std::string_view text(Element element) const;
    /// None when the element has no attribute of that name.
    std::optional<std::string_view> attribute(Element element, std::string_view name) const;

  private:
    class Builder;
    struct Node;
    struct Range;

    bool adopt(std::size_t offset);
    void unmap();
    std::string_view whole() const { return mapped_.empty() ? owned_ : mapped_; }
    Node at(Element element) const;
    Element sortedAt(Element position) const;
    const char *stringAt(std::uint32_t offset) const;
    const char *markedName(Element element) const;
    Range childrenOf(Element element) const;
    Element find(Element parent, char mark, std::string_view name) const;
    Element skipTo(char mark, Element element) const;

    std::string owned_;       // when it was made or read here
    std::string_view mapped_; // otherwise: what is to be unmapped
    std::size_t offset_ = 0;  // in either, of the image
    std::string_view bytes_;  // header, nodes, sorted numbers, strings
    std::uint32_t nodeCount_ = 0;
};

} // namespace zandorin::platform
