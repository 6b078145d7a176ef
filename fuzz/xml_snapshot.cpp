// Snapshots: whatever a snapshot's file holds, it does no harm; where its image is whole, what is
// read is what the file holds.

#include "fuzz/support/support.h"

#include "platform/libzandorin/xml_snapshot.h"
#include "util/files.h"
#include "util/paths.h"

namespace zandorin::fuzz {

void run(std::string_view data) {
    Pieces input(data);
    const auto place = input.number<std::uint16_t>();
    const auto cut = input.number<std::uint8_t>();
    const auto patch = input.text(input.number<std::size_t>(0, 16));
    const bool replaced = input.flag();
    const std::string text = input.rest();
    const std::string path = "/etc/config/x.xml";
    const std::string snapshot = "/var/run/x.snapshot";

    put(path, text);
    std::string fault;
    const auto document = platform::parseXml(text);
    const auto first = platform::readXmlFile(appliancePath(path), "x", fault);
    require(first.has_value() == document.has_value() && fault.empty() == document.has_value());
    if (!first)
        return;
    requireEqual(first->image, document->root);

    std::string bytes = readFile(appliancePath(snapshot)).value();
    const std::size_t preface = bytes.size() - first->image.bytes().size();
    const std::size_t offset = place % bytes.size();
    const bool isCut = cut < bytes.size() && cut % 4 == 1;
    bytes.replace(offset, patch.size(), patch);
    bytes.resize(bytes.size() - (isCut ? cut : 0));
    put(snapshot, replaced ? text : bytes);
    const auto second = platform::readXmlFile(appliancePath(path), "x", fault);
    require(second.has_value());
    requireHarmless(second->image);
    // Where the lengths do not fit, it is no snapshot at all.
    if (replaced || isCut || patch.empty() || offset + patch.size() <= preface)
        requireEqual(second->image, document->root);
}

} // namespace zandorin::fuzz
