#include "util/child_process.h"

#include <csignal>
#include <cstdlib>

namespace zandorin {

ChildEnvironment::ChildEnvironment() {
    for (const char *name :
         {"PATH", "TZ", "LANG", "ZANDORIN_ROOT", "LD_PRELOAD", "NSS_WRAPPER_PASSWD",
          "NSS_WRAPPER_GROUP", "NSS_WRAPPER_DISABLE_DEEPBIND"}) {
        const char *value = std::getenv(name);
        if (value != nullptr)
            variables_.push_back(std::string(name) + "=" + value);
    }
    for (std::string &variable : variables_)
        block_.push_back(variable.data());
    block_.push_back(nullptr);
}

void resetSignals() {
    for (int number = 1; number < NSIG; ++number)
        ::signal(number, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

} // namespace zandorin
