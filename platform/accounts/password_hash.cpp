#include "platform/accounts/password_hash.h"

#include "util/log.h"
#include "util/wipe.h"

#include <memory>

#include <crypt.h>
#include <dlfcn.h>

namespace zandorin::platform {

namespace {

using Crypt = decltype(&::crypt_r);

Crypt loadCrypt() {
    // The two versions differ in functions that nobody uses here.
    for (const char *name : {"libcrypt.so.1", "libcrypt.so.2"})
        if (void *library = ::dlopen(name, RTLD_NOW | RTLD_LOCAL))
            return reinterpret_cast<Crypt>(::dlsym(library, "crypt_r"));
    logRecord(Priority::error, "Failed to load libcrypt: %s", ::dlerror());
    return nullptr;
}

} // namespace

std::string hashPassword(const std::string &password, const std::string &setting) {
    if (password.find('\0') != std::string::npos)
        return ""; // crypt(3) would not see what follows
    static const Crypt crypt = loadCrypt();
    if (crypt == nullptr)
        return "";
    const auto data = std::make_unique<crypt_data>();
    const char *hash = crypt(password.c_str(), setting.c_str(), data.get());
    // A refusal is a text that begins with "*" and never equals the setting.
    std::string result = hash == nullptr || *hash == '*' ? "" : hash;
    wipe(data.get(), sizeof *data);
    return result;
}

} // namespace zandorin::platform
