#include "platform/libzandorin/xml_snapshot.h"

#include "util/files.h"
#include "util/paths.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <tuple>

#include <fcntl.h>
#include <unistd.h>

namespace zandorin::platform {

namespace {

/// Stands before the image in a snapshot's file.
struct Preface {
    std::array<char, 4> name = {'Z', 'd', 'X', '1'};
    std::uint32_t byteOrder = 0x01020304;
    FileIdentity file;
    std::uint64_t hash = 0;      // of the file's bytes
    std::int64_t comparedAt = 0; // when the snapshot was last known to be of these bytes
};

/// FNV-1a, 64 bits, of what `hash` is of and then `bytes`.
constexpr std::uint64_t hash_of_nothing = 14695981039346656037U;
std::uint64_t extendHash(std::uint64_t hash, std::string_view bytes) {
    for (const char c : bytes)
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
    return hash;
}

/// Of all the bytes of an open file; none when it cannot be read.
std::optional<std::uint64_t> hashOf(int file) {
    std::uint64_t hash = hash_of_nothing;
    std::array<char, 65536> part;
    for (off_t offset = 0;;) {
        const ssize_t count = ::pread(file, part.data(), part.size(), offset);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count == 0 ? std::optional(hash) : std::nullopt;
        hash = extendHash(hash, {part.data(), static_cast<std::size_t>(count)});
        offset += count;
    }
}

void save(const std::string &path, const Preface &preface, const XmlImage &image) {
    std::string bytes(sizeof preface, '\0');
    std::memcpy(bytes.data(), &preface, sizeof preface);
    bytes += image.bytes();
    replaceFile(path, bytes, 0600); // without it the next process parses the file, as this one did
}

/// The snapshot of the file in the state of `stamp`; none when there is none.
std::optional<XmlImage> load(const std::string &path, const FileStamp &stamp) {
    const UniqueFd file(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
    auto image = file ? XmlImage::open(file.get(), sizeof(Preface)) : std::nullopt;
    if (!image)
        return std::nullopt;
    const Preface expected;
    Preface preface;
    std::memcpy(&preface, image->preface().data(), sizeof preface);
    if (preface.name != expected.name || preface.byteOrder != expected.byteOrder ||
        preface.file != stamp.identity())
        return std::nullopt;
    if (preface.file.isSettled(preface.comparedAt))
        return image;
    // It was made so soon after the last change that the next one may look the same.
    const std::int64_t now = std::time(nullptr);
    if (hashOf(stamp.descriptor()) != preface.hash)
        return std::nullopt;
    // Of everything in a snapshot this alone is ever written over; when that fails, the next
    // reader compares once more.
    if (preface.file.isSettled(now))
        std::ignore = ::pwrite(file.get(), &now, sizeof now, offsetof(Preface, comparedAt));
    return image;
}

} // namespace

std::optional<XmlFile> readXmlFile(const std::string &path, const std::string &snapshot,
                                   std::string &fault) {
    const std::string snapshotPath = appliancePath("/var/run/" + snapshot + ".snapshot");
    auto stamp = FileStamp::take(path);
    if (!stamp)
        return std::nullopt;
    if (auto image = load(snapshotPath, *stamp))
        return XmlFile{std::move(*image), std::move(*stamp)};

    const std::int64_t now = std::time(nullptr);
    const auto bytes = readFile(stamp->descriptor(), max_xml_size);
    const auto document = bytes ? parseXml(*bytes, &fault) : std::nullopt;
    if (!document)
        return std::nullopt;
    XmlImage image(document->root);
    // Of a file that was written to meanwhile, the bytes may be of neither state.
    if (stamp->holds(path))
        save(snapshotPath,
             {.file = stamp->identity(),
              .hash = extendHash(hash_of_nothing, *bytes),
              .comparedAt = now},
             image);
    return XmlFile{std::move(image), std::move(*stamp)};
}

} // namespace zandorin::platform
