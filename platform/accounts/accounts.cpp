#include "platform/accounts/accounts.h"

#include "platform/accounts/account_line.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/wipe.h"

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
    for (const std::string_view line : linesOf(*contents))
        if (const auto fields = accountFields(line); fields && fields->front() == name) {
            hash = (*fields)[1];
            break;
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
