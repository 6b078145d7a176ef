#include "platform/accounts/accounts.h"

#include "platform/accounts/password_hash.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/wipe.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <sys/random.h>

namespace zandorin {

namespace {

using platform::hashPassword;

/// Takes as long whatever differs.
bool equalInConstantTime(const std::string &a, const std::string &b) {
    if (a.size() != b.size())
        return false;
    int difference = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        difference |= a[i] ^ b[i];
    return difference == 0;
}

bool fillRandom(unsigned char *bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t got = ::getrandom(bytes, size, 0);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        bytes += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

} // namespace

ShadowFile::ShadowFile() : ShadowFile(appliancePath("/etc/config/passwd")) {}

ShadowFile::ShadowFile(std::string path) : path_(std::move(path)) {}

std::optional<std::string> ShadowFile::hashOf(std::string_view name) const {
    auto contents = readFile(path_);
    if (!contents)
        return std::nullopt;
    std::optional<std::string> hash;
    for (std::string_view rest = *contents; !rest.empty() && !hash;) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const auto nameEnd = line.find(':');
        if (name.empty() || line.substr(0, nameEnd) != name ||
            std::count(line.begin(), line.end(), ':') != 6)
            continue;
        const std::string_view second = line.substr(nameEnd + 1);
        hash = second.substr(0, second.find(':'));
    }
    wipe(*contents);
    return hash;
}

bool user_ispassword(const ShadowFile &shadow, const std::string &name,
                     const std::string &password) {
    ZANDORIN_TRACE();
    auto stored = shadow.hashOf(name);
    if (!stored || stored->empty())
        return false;
    std::string given = hashPassword(password, *stored);
    const bool equal = !given.empty() && equalInConstantTime(given, *stored);
    wipe(given);
    wipe(*stored);
    return equal;
}

std::string user_getcryptedpassword(const std::string &password) {
    ZANDORIN_TRACE();
    // The alphabet of crypt(5): one character for six random bits.
    static constexpr char alphabet[] =
        "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    std::array<unsigned char, 16> random{};
    if (!fillRandom(random.data(), random.size())) {
        logRecord(Priority::error, "No random bytes for a password's salt");
        return "";
    }
    std::string setting = "$6$";
    for (const unsigned char byte : random)
        setting += alphabet[byte & 63];
    return hashPassword(password, setting);
}

} // namespace zandorin
