#include "platform/accounts/accounts.h"

#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/wipe.h"

#include <algorithm>
#include <cerrno>

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

std::string user_getcryptedpassword(const std::string &password, PasswordHash way) {
    ZANDORIN_TRACE();
    const std::string setting = platform::freshSetting(way);
    if (setting.empty())
        logRecord(Priority::error, "No salt could be made for a password");
    return setting.empty() ? "" : hashPassword(password, setting);
}

} // namespace zandorin
