#include "platform/accounts/password_hash.h"

#include "util/log.h"
#include "util/wipe.h"

#include <memory>

#include <crypt.h>
#include <dlfcn.h>

namespace zandorin {

PasswordHash passwordHashNamed(std::string_view word) {
    return word == "yescrypt" ? PasswordHash::yescrypt
           : word == "sha512" ? PasswordHash::sha512
                              : PasswordHash::md5;
}

namespace platform {

namespace {

/// A function of libcrypt; null when it is not to be had.
void *cryptFunction(const char *name) {
    // The two versions differ in functions that nobody uses here.
    for (const char *file : {"libcrypt.so.1", "libcrypt.so.2"})
        if (void *library = ::dlopen(file, RTLD_NOW | RTLD_LOCAL))
            return ::dlsym(library, name);
    logRecord(Priority::error, "Failed to load libcrypt: %s", ::dlerror());
    return nullptr;
}

} // namespace

std::string hashPassword(const std::string &password, const std::string &setting) {
    if (password.find('\0') != std::string::npos)
        return ""; // crypt(3) would not see what follows
    static const auto crypt = reinterpret_cast<decltype(&::crypt_r)>(cryptFunction("crypt_r"));
    if (crypt == nullptr)
        return "";
    const auto data = std::make_unique<crypt_data>();
    const char *hash = crypt(password.c_str(), setting.c_str(), data.get());
    // A refusal is a text that begins with "*" and never equals the setting.
    std::string result = hash == nullptr || *hash == '*' ? "" : hash;
    wipe(data.get(), sizeof *data);
    return result;
}

std::string freshSetting(PasswordHash way) {
    const char *prefix = way == PasswordHash::yescrypt ? "$y$" : "$6$";
    const auto make =
        reinterpret_cast<decltype(&::crypt_gensalt_rn)>(cryptFunction("crypt_gensalt_rn"));
    std::string setting(CRYPT_GENSALT_OUTPUT_SIZE, '\0');
    if (way == PasswordHash::md5 || make == nullptr ||
        make(prefix, 0, nullptr, 0, setting.data(), static_cast<int>(setting.size())) == nullptr)
        return "";
    return setting.c_str();
}

} // namespace platform

} // namespace zandorin
