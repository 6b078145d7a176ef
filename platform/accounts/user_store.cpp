#include "platform/accounts/user_store.h"

#include "platform/accounts/account_file.h"
#include "platform/accounts/accounts.h"
#include "util/exception.h"
#include "util/fd.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>
#include <set>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zandorin {

namespace {

constexpr gid_t users_group = 1000;
constexpr uid_t first_uid = 1000;
constexpr uid_t last_uid = std::numeric_limits<uid_t>::max() - 1; // the largest means "none"
constexpr const char *homes = "/etc/config/users";
constexpr const char *shell = "/bin/bash";
constexpr const char *disabled_shell = "/bin/false";
constexpr const char *no_password = "*"; ///< no hash, so no password has it
constexpr char disabled_mark = '!';

std::string homeOf(const std::string &name) {
    return std::string(homes) + "/" + name;
}

/// What stands in an account line for a clear password; "" when it cannot be made.
std::string hashFor(const std::string &password, PasswordHash way) {
    return password.empty() ? no_password : user_hashpassword(password, way);
}

void makeOwnedFolder(const std::string &path, const Account &owner) {
    if (::mkdir(appliancePath(path).c_str(), 0755) != 0 && errno != EEXIST)
        logRecord(Priority::error, "Failed to make: %s: %s", path.c_str(), std::strerror(errno));
    // Whatever a user may have put in the place of a folder of theirs, nothing else is given away.
    const UniqueFd folder(
        ::open(appliancePath(path).c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    // In development nobody but root can give a folder away.
    if (!folder || ::fchown(folder.get(), owner.uid, owner.gid) != 0)
        logRecord(Priority::debug, "Failed to give away: %s: %s", path.c_str(),
                  std::strerror(errno));
}

void makeHome(const Account &account) {
    const mode_t before = ::umask(0);
    if (::mkdir(appliancePath(homes).c_str(), 0755) != 0 && errno != EEXIST)
        logRecord(Priority::error, "Failed to make: %s: %s", homes, std::strerror(errno));
    makeOwnedFolder(account.home, account);
    makeOwnedFolder(account.home + "/.ssh", account);
    ::umask(before);
}

bool acceptable(const std::string &name, const std::string &description = "") {
    if (user_isname(name) && user_isfield(description))
        return true;
    logRecord(Priority::error, "Refused account name or description: '%s', '%s'", name.c_str(),
              description.c_str());
    return false;
}

uid_t freeUid(const AccountFile &accounts) {
    std::set<uid_t> used;
    for (const Account &account : accounts.accounts())
        if (account.uid >= first_uid)
            used.insert(account.uid);
    if (used.empty())
        return first_uid;
    uid_t candidate = *used.begin();
    while (used.count(candidate) != 0)
        // Behind the largest comes no id but root's: the lowest free one, then.
        candidate = candidate >= last_uid ? first_uid : candidate + 1;
    return candidate;
}

bool isDisabled(const Account &account) {
    return account.hash.starts_with(disabled_mark);
}

void setHash(Account &account, const std::string &hash) {
    account.hash = isDisabled(account) ? disabled_mark + hash : hash;
    account.shell = isDisabled(account) ? disabled_shell : shell;
}

void setEnabled(Account &account, bool enabled) {
    if (isDisabled(account) == enabled)
        account.hash = enabled ? account.hash.substr(1) : disabled_mark + account.hash;
    account.shell = enabled ? shell : disabled_shell;
}

bool isThere(const std::string &path) {
    std::error_code failure;
    return std::filesystem::exists(std::filesystem::symlink_status(appliancePath(path), failure));
}

bool isNameFree(const AccountFile &accounts, const std::string &name) {
    if (accounts.find(name))
        logRecord(Priority::error, "Account exists: %s", name.c_str());
    else if (isThere(homeOf(name)))
        logRecord(Priority::error, "Home folder exists: %s", homeOf(name).c_str());
    else
        return true;
    return false;
}

/// Sees to it that an account's home folder is where it should be, moved there from that of its old
/// name, and whole. False when it could not be moved; it is then still where it was.
bool provideHome(const std::string &oldName, const Account &account) {
    if (account.home != homeOf(account.name))
        return true;
    const std::string from = homeOf(oldName);
    if (!isThere(account.home) && isThere(from) &&
        !moveFile(appliancePath(from), appliancePath(account.home))) {
        logRecord(Priority::error, "Failed to move: %s: %s", from.c_str(), std::strerror(errno));
        return false;
    }
    makeHome(account);
    return true;
}

/// The account of `name`. When it is to be renamed and has the new name already, that one: a crash
/// came between the steps of doing so before. None, with a log record, for a name that is taken.
std::optional<Account> accountToChange(const AccountFile &accounts, const std::string &name,
                                       const std::string &newName) {
    auto account = accounts.find(name);
    if (account)
        return newName == name || isNameFree(accounts, newName) ? account : std::nullopt;
    account = accounts.find(newName);
    return account && user_isown(*account) ? account : std::nullopt;
}

} // namespace

bool user_isname(const std::string &name) {
    constexpr std::size_t longest = 64;
    return !name.empty() && name.size() <= longest && isAlphanumeric(name.front()) &&
           std::all_of(name.begin(), name.end(), [](char c) {
               return isAlphanumeric(c) || c == '.' || c == '_' || c == '-' || c == '@';
           });
}

bool user_isfield(const std::string &text) {
    return std::none_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return c == ':' || byte < 0x20 || byte == 0x7f;
    });
}

const char *user_makesalt() {
    ZANDORIN_TRACE();
    static constexpr std::string_view alphabet =
        "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    static std::array<char, 12 + 1> salt;
    std::array<unsigned char, 9> random = {};
    const UniqueFd source(::open("/dev/urandom", O_RDONLY | O_CLOEXEC));
    for (std::size_t filled = 0; filled < random.size();) {
        const ssize_t got = ::read(source.get(), random.data() + filled, random.size() - filled);
        if (got > 0)
            filled += static_cast<std::size_t>(got);
        else if (got == 0 || errno != EINTR)
            return nullptr;
    }
    salt = {'$', '1', '$'};
    for (std::size_t i = 0; i < random.size(); ++i)
        salt[3 + i] = alphabet[random[i] & 63U];
    return salt.data();
}

std::string user_hashpassword(const std::string &password, PasswordHash way) {
    ZANDORIN_TRACE();
    if (way != PasswordHash::md5)
        return user_getcryptedpassword(password, way);
    const char *salt = user_makesalt();
    return salt == nullptr ? "" : platform::hashPassword(password, salt);
}

int user_ispassword(const std::string &name, const std::string &password) {
    ZANDORIN_TRACE();
    const passwd *account = ::getpwnam(name.c_str());
    if (account == nullptr)
        return 0;
    const std::string stored = account->pw_passwd;
    return !stored.empty() && platform::hashPassword(password, stored.c_str()) == stored ? 1 : 0;
}

std::optional<Account> user_find(const std::string &name) {
    ZANDORIN_TRACE();
    AccountFile accounts;
    if (!accounts.read() && errno != ENOENT)
        throw utilities::Exception("The login accounts can not be read.");
    return name.empty() ? std::nullopt : accounts.find(name);
}

bool user_isown(const Account &account) {
    return account.uid >= first_uid && account.home == homeOf(account.name);
}

bool user_haspassword(const std::string &name) {
    const auto account = user_find(name);
    return account && account->hash != no_password &&
           account->hash != std::string(1, disabled_mark) + no_password;
}

uid_t user_getfreeuid() {
    ZANDORIN_TRACE();
    AccountFile accounts;
    return accounts.read() ? freeUid(accounts) : first_uid;
}

int user_addgroup(const std::string &name, gid_t gid) {
    ZANDORIN_TRACE();
    return acceptable(name) && addGroup(name, gid) ? 0 : -1;
}

int user_addgroup(const std::string &name) {
    ZANDORIN_TRACE();
    return acceptable(name) && addFreeGroup(name, users_group + 1) ? 0 : -1;
}

int user_renamegroup(const std::string &name, const std::string &newName) {
    ZANDORIN_TRACE();
    return acceptable(name) && acceptable(newName) && renameGroup(name, newName, users_group) ? 0
                                                                                              : -1;
}

int user_delgroup(const std::string &name) {
    ZANDORIN_TRACE();
    return acceptable(name) && removeGroup(name, users_group) ? 0 : -1;
}

int user_adduser(const std::string &name, const std::string &password,
                 const std::string &description, PasswordHash way) {
    ZANDORIN_TRACE();
    if (!acceptable(name, description))
        return -1;
    AccountFile accounts;
    if (!accounts.open(true))
        return -1;
    if (accounts.find(name)) {
        logRecord(Priority::error, "Account exists: %s", name.c_str());
        return -1;
    }
    Account account = {.name = name,
                       .hash = hashFor(password, way),
                       .uid = freeUid(accounts),
                       .gid = users_group,
                       .description = description,
                       .home = homeOf(name),
                       .shell = shell};
    if (account.hash.empty())
        return -1;
    accounts.add(account);
    if (!accounts.save())
        return -1;
    makeHome(account);
    return 0;
}

int user_changeuser(const std::string &name, const AccountChange &change) {
    ZANDORIN_TRACE();
    const std::string newName = change.name.value_or(name);
    const std::string hash = change.password ? hashFor(*change.password, change.way) : "";
    if (!acceptable(name) || !acceptable(newName, change.description.value_or("")) ||
        (change.password && hash.empty()))
        return -1;
    AccountFile accounts;
    if (!accounts.open())
        return -1;
    auto account = accountToChange(accounts, name, newName);
    if (!account)
        return -1;
    const std::string before = account->name;
    if (account->home == homeOf(name))
        account->home = homeOf(newName);
    account->name = newName;
    if (change.description)
        account->description = *change.description;
    if (change.password)
        setHash(*account, hash);
    if (change.enabled)
        setEnabled(*account, *change.enabled);
    accounts.set(before, *account);
    return accounts.save() && provideHome(name, *account) ? 0 : -1;
}

int user_putuser(const std::string &name, const AccountChange &change) {
    ZANDORIN_TRACE();
    const std::string newName = change.name.value_or(name);
    if (user_find(name) || user_find(newName))
        return user_changeuser(name, change);
    const int made = user_adduser(newName, change.password.value_or(""),
                                  change.description.value_or(""), change.way);
    return made == 0 && !change.enabled.value_or(true)
               ? user_changeuser(newName, {.enabled = false})
               : made;
}

int user_setuser(const std::string &name, const std::string &password,
                 const std::string &description) {
    ZANDORIN_TRACE();
    return user_changeuser(name, {.password = password, .description = description});
}

int user_setdescription(const std::string &name, const std::string &description) {
    ZANDORIN_TRACE();
    return user_changeuser(name, {.description = description});
}

int user_renameuser(const std::string &name, const std::string &newName) {
    ZANDORIN_TRACE();
    return user_changeuser(name, {.name = newName});
}

int user_deluser(const std::string &name) {
    ZANDORIN_TRACE();
    if (!acceptable(name))
        return -1;
    AccountFile accounts;
    if (!accounts.open())
        return -1;
    accounts.remove(name);
    if (!accounts.save())
        return -1;
    std::error_code failure;
    std::filesystem::remove_all(appliancePath(homeOf(name)), failure);
    if (failure)
        logRecord(Priority::error, "Failed to remove: %s: %s", homeOf(name).c_str(),
                  failure.message().c_str());
    return 0;
}

} // namespace zandorin
