#include "forms/user_store.h"

#include "forms/account_file.h"
#include "util/fd.h"
#include "util/log.h"
#include "util/paths.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>

#include <crypt.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zandorin {

namespace {

constexpr gid_t users_group = 1000;
constexpr uid_t first_uid = 1000;
constexpr const char *homes = "/etc/config/users";
constexpr const char *shell = "/bin/bash";

std::string homeOf(const std::string &name) {
    return std::string(homes) + "/" + name;
}

/// crypt(3); "" when it fails (its answer then begins with "*").
std::string crypted(const std::string &password, const char *setting) {
    struct crypt_data work = {};
    const char *hash = ::crypt_r(password.c_str(), setting, &work);
    std::string result = hash == nullptr || *hash == '*' ? "" : hash;
    ::explicit_bzero(&work, sizeof work);
    return result;
}

void makeOwnedFolder(const std::string &path, uid_t owner) {
    const std::string folder = appliancePath(path);
    if (::mkdir(folder.c_str(), 0755) != 0 && errno != EEXIST)
        logRecord(Priority::error, "Failed to make: %s: %s", path.c_str(), std::strerror(errno));
    // In development nobody but root can give a folder away.
    if (::lchown(folder.c_str(), owner, users_group) != 0)
        logRecord(Priority::debug, "Failed to give away: %s: %s", path.c_str(),
                  std::strerror(errno));
}

void makeHome(const std::string &name, uid_t owner) {
    const mode_t before = ::umask(0);
    if (::mkdir(appliancePath(homes).c_str(), 0755) != 0 && errno != EEXIST)
        logRecord(Priority::error, "Failed to make: %s: %s", homes, std::strerror(errno));
    makeOwnedFolder(homeOf(name), owner);
    makeOwnedFolder(homeOf(name) + "/.ssh", owner);
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
        ++candidate;
    return candidate;
}

/// Changes the account `name` under the lock; -1 when there is none or the file cannot be written.
template <typename Change> int changeAccount(const std::string &name, Change change) {
    AccountFile accounts;
    if (!accounts.open())
        return -1;
    auto account = accounts.find(name);
    if (!account || !change(accounts, *account))
        return -1;
    accounts.set(name, *account);
    return accounts.save() ? 0 : -1;
}

} // namespace

bool user_isname(const std::string &name) {
    constexpr std::size_t longest = 64;
    const auto isAlnum = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    };
    return !name.empty() && name.size() <= longest && isAlnum(name.front()) &&
           std::all_of(name.begin(), name.end(), [&](char c) {
               return isAlnum(c) || c == '.' || c == '_' || c == '-' || c == '@';
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
    if (!source ||
        ::read(source.get(), random.data(), random.size()) != static_cast<ssize_t>(random.size()))
        return nullptr;
    salt = {'$', '1', '$'};
    for (std::size_t i = 0; i < random.size(); ++i)
        salt[3 + i] = alphabet[random[i] & 63U];
    return salt.data();
}

std::string user_hashpassword(const std::string &password) {
    ZANDORIN_TRACE();
    const char *salt = user_makesalt();
    return salt == nullptr ? "" : crypted(password, salt);
}

int user_ispassword(const std::string &name, const std::string &password) {
    ZANDORIN_TRACE();
    const passwd *account = ::getpwnam(name.c_str());
    if (account == nullptr)
        return 0;
    const std::string stored = account->pw_passwd;
    return !stored.empty() && crypted(password, stored.c_str()) == stored ? 1 : 0;
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

int user_adduser(const std::string &name, const std::string &password,
                 const std::string &description) {
    ZANDORIN_TRACE();
    if (!acceptable(name, description))
        return -1;
    AccountFile accounts;
    if (!accounts.open())
        return -1;
    if (accounts.find(name)) {
        logRecord(Priority::error, "Account exists: %s", name.c_str());
        return -1;
    }
    Account account = {.name = name,
                       .hash = user_hashpassword(password),
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
    makeHome(name, account.uid);
    return 0;
}

int user_setuser(const std::string &name, const std::string &password,
                 const std::string &description) {
    ZANDORIN_TRACE();
    const std::string hash = user_hashpassword(password);
    if (hash.empty() || !acceptable(name, description))
        return -1;
    return changeAccount(name, [&](AccountFile &, Account &account) {
        account.hash = hash;
        account.description = description;
        account.shell = shell;
        return true;
    });
}

int user_setdescription(const std::string &name, const std::string &description) {
    ZANDORIN_TRACE();
    if (!acceptable(name, description))
        return -1;
    return changeAccount(name, [&](AccountFile &, Account &account) {
        account.description = description;
        return true;
    });
}

int user_renameuser(const std::string &name, const std::string &newName) {
    ZANDORIN_TRACE();
    if (!acceptable(name) || !acceptable(newName))
        return -1;
    const std::string from = appliancePath(homeOf(name));
    const std::string to = appliancePath(homeOf(newName));
    std::error_code failure;
    if (std::filesystem::exists(std::filesystem::symlink_status(to, failure))) {
        logRecord(Priority::error, "Home folder exists: %s", homeOf(newName).c_str());
        return -1;
    }
    const int result = changeAccount(name, [&](AccountFile &accounts, Account &account) {
        if (accounts.find(newName)) {
            logRecord(Priority::error, "Account exists: %s", newName.c_str());
            return false;
        }
        account.name = newName;
        if (account.home == homeOf(name))
            account.home = homeOf(newName);
        return true;
    });
    if (result != 0)
        return result;
    if (::rename(from.c_str(), to.c_str()) != 0) {
        logRecord(Priority::error, "Failed to move: %s: %s", homeOf(name).c_str(),
                  std::strerror(errno));
        const passwd *account = ::getpwnam(newName.c_str());
        makeHome(newName, account == nullptr ? 0 : account->pw_uid);
    }
    return 0;
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
