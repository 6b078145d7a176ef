#include "platform/accounts/authorized_keys.h"

#include "platform/accounts/account_file.h"
#include "util/fd.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zandorin {

namespace {

constexpr int folder_flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr const char *keys_folder = ".ssh";
constexpr const char *keys_file = "authorized_keys";

UniqueFd openKeysFolder(const Account &account) {
    const UniqueFd home(::open(appliancePath(account.home).c_str(), folder_flags));
    if (!home)
        return {};
    constexpr mode_t own = 0700;
    const bool made = ::mkdirat(home.get(), keys_folder, own) == 0;
    UniqueFd folder(::openat(home.get(), keys_folder, folder_flags));
    if (made && folder && ::fchown(folder.get(), account.uid, account.gid) != 0)
        logRecord(Priority::debug, "Failed to give away: %s/%s: %s", account.home.c_str(),
                  keys_folder, std::strerror(errno));
    return folder;
}

} // namespace

bool writeAuthorizedKeys(const Account &account, const std::string &keys) {
    ZANDORIN_TRACE();
    constexpr mode_t secret = 0600;
    const UniqueFd folder = openKeysFolder(account);
    bool done = false;
    if (folder && keys.empty())
        done = ::unlinkat(folder.get(), keys_file, 0) == 0 || errno == ENOENT;
    else if (folder)
        done =
            replaceFileIn(folder.get(), keys_file, keys + "\n", secret, account.uid, account.gid);
    if (!done)
        logRecord(Priority::error, "Failed to write: %s/%s/%s: %s", account.home.c_str(),
                  keys_folder, keys_file, std::strerror(errno));
    return done;
}

} // namespace zandorin
