// Images of XML: one of a document answers what the document's tree does, in memory and mapped, and
// one whose bytes were tampered with answers from its own bytes.

#include "fuzz/support/support.h"

#include "util/fd.h"

#include <sys/mman.h>

namespace zandorin::fuzz {

using namespace platform;

/// The bytes mapped from a file, so that they end with a page or just before.
static std::optional<XmlImage> map(const std::string &bytes) {
    constexpr std::size_t page = 4096;
    constexpr std::size_t alignment = 8;
    const UniqueFd file(::memfd_create("image", MFD_CLOEXEC));
    const std::size_t offset = (page - bytes.size() % page) / alignment * alignment;
    put(file.get(), std::string(offset, 'x') + bytes);
    return XmlImage::open(file.get(), offset);
}

void run(std::string_view data) {
    Pieces input(data);
    std::vector<std::pair<std::size_t, std::uint32_t>> changes;
    for (int patches = input.number(0, 8); patches > 0; --patches) {
        const std::size_t place = input.number<std::uint16_t>() * sizeof(std::uint32_t);
        const bool wide = input.flag();
        changes.emplace_back(place,
                             wide ? input.number<std::uint32_t>() : input.number<std::uint8_t>());
    }
    const std::string text = input.rest();
    requireHarmless(XmlImage());
    if (const auto raw = map(text))
        requireHarmless(*raw);
    const auto document = parseXml(text);
    if (!document)
        return;
    XmlImage made(document->root);
    std::string bytes(made.bytes());
    requireEqual(map(bytes).value(), document->root);
    const XmlImage moved = std::move(made);
    requireEqual(moved, document->root);
    requireHarmless(moved);

    for (const auto &[place, value] : changes)
        bytes.replace(place % bytes.size(), sizeof value, reinterpret_cast<const char *>(&value),
                      std::min(sizeof value, bytes.size() - place % bytes.size()));
    if (const auto tampered = map(bytes))
        requireHarmless(*tampered);
}

} // namespace zandorin::fuzz
