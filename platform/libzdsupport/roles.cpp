#include "platform/libzdsupport/roles.h"

#include "platform/libzandorin/config_manager.h"

#include <algorithm>
#include <string_view>
#include <vector>

struct role_set {
    std::vector<std::string> names;
};

const role_record ALL_ROLES[6] = {
    {"admin", "Open every page and change every setting"},
    {"ports", "Use the serial ports: terminals, port logs and port users"},
    {"power", "Operate power outlets and uninterruptible power supplies"},
    {"devices", "See the managed devices and their hosts"},
    {"status", "See status, statistics and dashboards"},
    {nullptr, ""},
};

namespace {

using zandorin::ConfigManager;

void addAllKnown(roles_t *set) {
    for (const role_record *role = ALL_ROLES; role->name != nullptr; ++role)
        roles_add_role(set, role->name);
}

/// Groups that need no record in the configuration.
constexpr struct {
    std::string_view group;
    const char *roles[6]; // ends with a null pointer
} roles_of_built_in[] = {
    {"admin", {"admin", "ports", "power", "devices", "status"}},
    {"pmshell", {"ports"}},
    {"pmoperator", {"ports", "devices", "status"}},
    {"netgrp", {"devices"}},
    {"dialin", {}},
    {"pptpd", {}},
};

/// The keys of a numbered list, <list>.<prefix>1 and so on, in file order.
std::vector<std::string> listEntries(const ConfigManager &config, const std::string &list,
                                     std::string_view prefix) {
    std::vector<std::string> keys;
    for (const std::string &name : config.getSubElements(list)) {
        const bool isNumbered =
            name.size() > prefix.size() && name.starts_with(prefix) &&
            name.find_first_not_of("0123456789", prefix.size()) == std::string::npos;
        if (isNumbered)
            keys.push_back(std::string(list).append(".").append(name));
    }
    return keys;
}

/// The key of the first entry whose field has that value; "" when there is none.
std::string findEntry(const ConfigManager &config, const std::string &list, std::string_view prefix,
                      const char *field, std::string_view value) {
    for (const std::string &key : listEntries(config, list, prefix))
        if (config.getElement(key + field) == value)
            return key;
    return "";
}

} // namespace

std::vector<std::string> zandorin::grantingRecords(const ConfigManager &config,
                                                   const std::string &user) {
    const std::string key = findEntry(config, "config.users", "user", ".username", user);
    if (user.empty() || key.empty() || config.getBoolean(key + ".disabled"))
        return {};
    std::vector<std::string> keys = {key};
    for (const std::string &entry : listEntries(config, key + ".groups", "group")) {
        std::string group =
            findEntry(config, "config.groups", "group", ".name", config.getElement(entry));
        if (!group.empty())
            keys.push_back(std::move(group));
    }
    return keys;
}

int roles_add_role(roles_t *set, const char *name) {
    if (set == nullptr || name == nullptr)
        return -1;
    if (*name == '\0' || roles_has(*set, name))
        return 0;
    if (*set == nullptr)
        *set = new role_set;
    (*set)->names.emplace_back(name);
    return 0;
}

int roles_add_all(roles_t *set, roles_t other) {
    if (set == nullptr)
        return -1;
    if (*set == nullptr && !roles_empty(other))
        *set = new role_set(*other);
    else if (other != nullptr && other != *set)
        for (const std::string &name : other->names)
            roles_add_role(set, name.c_str());
    return 0;
}

int roles_add_from_user(roles_t *set, const char *user, const ConfigManager &config) {
    if (set == nullptr || user == nullptr || *user == '\0')
        return -1;
    if (std::string_view(user) == "root") {
        addAllKnown(set);
        return 0;
    }
    const std::string key = findEntry(config, "config.users", "user", ".username", user);
    if (key.empty() || config.getBoolean(key + ".disabled"))
        return -1;
    // A group that is known nowhere gives no roles.
    for (const std::string &entry : listEntries(config, key + ".groups", "group"))
        roles_add_from_group(set, config.getElement(entry).c_str(), config);
    return 0;
}

int roles_add_from_group(roles_t *set, const char *group, const ConfigManager &config) {
    if (set == nullptr || group == nullptr || *group == '\0')
        return -1;
    const auto *builtIn = std::find_if(std::begin(roles_of_built_in), std::end(roles_of_built_in),
                                       [group](const auto &known) { return known.group == group; });
    const std::string key = findEntry(config, "config.groups", "group", ".name", group);
    if (builtIn == std::end(roles_of_built_in) && key.empty())
        return -1;
    if (builtIn != std::end(roles_of_built_in))
        for (const char *const *role = builtIn->roles; *role != nullptr; ++role)
            roles_add_role(set, *role);
    if (!key.empty())
        for (const std::string &entry : listEntries(config, key + ".roles", "role"))
            roles_add_role(set, config.getElement(entry).c_str());
    return 0;
}

int roles_intersect(roles_t *out, roles_t a, roles_t b) {
    if (out == nullptr)
        return -1;
    role_set common;
    if (a != nullptr)
        for (const std::string &name : a->names)
            if (roles_has(b, name.c_str()))
                common.names.push_back(name);
    roles_free(out);
    if (!common.names.empty())
        *out = new role_set(std::move(common));
    return 0;
}

bool roles_overlap(roles_t a, roles_t b) {
    return a != nullptr && std::any_of(a->names.begin(), a->names.end(), [b](const auto &name) {
               return roles_has(b, name.c_str());
           });
}

bool roles_equal(roles_t a, roles_t b) {
    const auto size = [](roles_t set) { return set == nullptr ? 0 : set->names.size(); };
    return size(a) == size(b) &&
           (a == nullptr || std::all_of(a->names.begin(), a->names.end(), [b](const auto &name) {
                return roles_has(b, name.c_str());
            }));
}

bool roles_has(roles_t set, const char *name) {
    return set != nullptr && name != nullptr &&
           std::find(set->names.begin(), set->names.end(), name) != set->names.end();
}

bool roles_empty(roles_t set) {
    return set == nullptr || set->names.empty();
}

void roles_free(roles_t *set) {
    if (set == nullptr)
        return;
    delete *set;
    *set = nullptr;
}

namespace zandorin::utilities {

std::string Roles::to_string(roles_t set) {
    std::string joined;
    if (set != nullptr)
        for (const std::string &name : set->names)
            joined += (joined.empty() ? "" : ", ") + name;
    return joined;
}

} // namespace zandorin::utilities
