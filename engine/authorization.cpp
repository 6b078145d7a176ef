#include "engine/engine.h"

#include "platform/accounts/accounts.h"
#include "util/log.h"

#include <pwd.h>

namespace zandorin {

using utilities::Roles;

roles_t Engine::getUserRoles() {
    if (!session_.authSuccess())
        return nullptr;
    const std::string user = getCurrentUsername();
    if (user == rolesUser_)
        return roles_.get();
    roles_ = Roles();
    if (roles_add_from_user(roles_.handle(), user.c_str(), configManager_) == -1) {
        logRecord(Priority::error, "Failed to load roles for user '%s'", user.c_str());
        roles_ = Roles();
        return roles_.get();
    }
    rolesUser_ = user;
    if (logEnabled(Priority::debug))
        logRecord(Priority::debug, "User '%s' has roles (%s)", user.c_str(),
                  Roles::to_string(roles_.get()).c_str());
    return roles_.get();
}

/// May this user use the interface at all, whatever the form?
bool Engine::isUserKnown(const std::string &user) {
    if (user == knownUser_)
        return true;
    if (user == "unknown") {
        logRecord(Priority::error, "User '%s' is not recognized", user.c_str());
        return false;
    }
    if (user != "root" && configManager_.hasPlainTextPasswords()) {
        logRecord(Priority::error, "Upgrade firmware/config for non-root users.");
        return false;
    }
    // An account of the appliance's own is found without asking the name services.
    if (!ShadowFile().hashOf(user) && ::getpwnam(user.c_str()) == nullptr) {
        logRecord(Priority::error, "No such user: %s", user.c_str());
        return false;
    }
    knownUser_ = user;
    return true;
}

bool Engine::isAuthorized(const std::string &formId) {
    const std::string &id = formId.empty() ? formId_ : formId;
    const std::string user = getCurrentUsername();
    if (!isUserKnown(user))
        return false;
    const NavLeaf *leaf = nullptr;
    const bool found = navTree_.getNavLeaf(id, leaf);
    const roles_t formRoles = found ? leaf->roles : navTree_.roles();
    if (roles_overlap(getUserRoles(), formRoles))
        return true;
    if (logEnabled(Priority::debug))
        logRecord(Priority::debug,
                  "'%s' not authorized to access '%s'; user roles=<%s>, navtree roles=<%s>",
                  user.c_str(), id.c_str(), Roles::to_string(getUserRoles()).c_str(),
                  Roles::to_string(formRoles).c_str());
    return false;
}

bool Engine::mayUsePages() {
    return session_.authSuccess() && isUserKnown(getCurrentUsername()) &&
           !roles_empty(getUserRoles());
}

bool Engine::isOffered(const NavLeaf &leaf) {
    return checkLeaf(leaf, configManager_) && isAuthorized(std::string(leaf.id));
}

} // namespace zandorin
