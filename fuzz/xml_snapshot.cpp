// Snapshots: whatever a snapshot's file holds, it does no harm; where its image is whole, what is
// read is what the file holds.

#include "fuzz/support/support.h"

#include "platform/libzandorin/xml_snapshot.h"
#include "util/files.h"
#include "util/paths.h"

namespace zandorin::fuzz {

void run(std::string_view data) {
    FuzzedDataProvider input = piecesOf(data);
    const auto place = input.ConsumeIntegral<std::uint16_t>();
    const auto cut = input.ConsumeIntegral<std::uint8_t>();
    const auto patch = input.ConsumeBytesAsString(input.ConsumeIntegralInRange<std::size_t>(0, 16));
    const bool replaced = input.ConsumeBool();
    const std::string text = input.ConsumeRemainingBytesAsString();

    const std::string snapshot = "/var/run/x.snapshot";
    put("/etc/config/x.xml", text);
    const auto read = [](std::string &fault) {
        return platform::readXmlFile(appliancePath("/etc/config/x.xml"), "x", fault);
    };
    const auto document = platform::parseXml(text);
    std::string fault;
    const auto first = read(fault);
    require(first.has_value() == document.has_value() && fault.empty() == document.has_value());
    if (!first)
        return;
    requireEqual(first->image, document->root);

    std::string bytes = readFile(appliancePath(snapshot)).value();
    const std::size_t preface = bytes.size() - first->image.bytes().size();
    const std::size_t offset = place % bytes.size();
    bool whole = patch.empty() || offset + patch.size() <= preface;
    bytes.replace(offset, patch.size(), patch);
    if (cut < bytes.size() && cut % 4 == 1) {
        bytes.resize(bytes.size() - cut);
        whole = true; // the lengths do not fit, so it is none
    }
    if (replaced) {
        bytes = text;
        whole = true;
    }
    put(snapshot, bytes);
    const auto second = read(fault);
    require(second.has_value());
    if (whole)
        requireEqual(second->image, document->root);
    requireHarmless(second->image);
}

} // namespace zandorin::fuzz
