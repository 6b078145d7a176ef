#pragma once

#include <string>
#include <utility>
#include <vector>

namespace zandorin {
class ConfigManager;

/// The keys of the configuration's records that give a user something: the user's own first, then
/// those of the user's groups. None for who has no record or is disabled.
std::vector<std::string> grantingRecords(const ConfigManager &config, const std::string &user);
} // namespace zandorin

/// A set of role names. The null handle is the empty set; a set is owned by whoever holds the
/// handle and released with roles_free (or by zandorin::utilities::Roles).
struct role_set;
using roles_t = role_set *;

/// One role the system knows.
struct role_record {
    const char *name;       ///< null ends the table
    char description[1024]; ///< what the role allows, for people
};

/// Every role the system knows, at most five, and the record with the null name.
extern const role_record ALL_ROLES[6];

/// Groups that exist without a record, with roles of their own; separated by blanks.
inline constexpr const char *built_in_groups = "admin netgrp dialin pmshell pmoperator pptpd";

// All functions take null handles. Those that answer an int give 0 on success, -1 on failure.

/// Adds one role; a name that is there already, or is empty, changes nothing.
int roles_add_role(roles_t *set, const char *name);
/// Adds every role of `other`.
int roles_add_all(roles_t *set, roles_t other);
/// Adds the roles of the user as the configuration's users and groups give them; root has every
/// role. -1, adding nothing, when the configuration has no such user or the user is disabled.
int roles_add_from_user(roles_t *set, const char *user, const zandorin::ConfigManager &config);
/// Adds the roles of the group: those of the built-in group of that name and those listed in the
/// configuration's record of it. -1 when there is neither.
int roles_add_from_group(roles_t *set, const char *group, const zandorin::ConfigManager &config);
/// Makes `*out` the intersection of both sets; what it held before is released.
int roles_intersect(roles_t *out, roles_t a, roles_t b);
/// True when a role is in both sets.
bool roles_overlap(roles_t a, roles_t b);
bool roles_equal(roles_t a, roles_t b);
bool roles_has(roles_t set, const char *name);
bool roles_empty(roles_t set);
/// Empties and releases a set; the handle is null afterwards.
void roles_free(roles_t *set);

namespace zandorin::utilities {

/// Owns a role set.
class Roles {
  public:
    Roles() = default;
    Roles(const Roles &other) { roles_add_all(&set_, other.set_); }
    Roles(Roles &&other) noexcept : set_(other.set_) { other.set_ = nullptr; }
    Roles &operator=(Roles other) noexcept {
        std::swap(set_, other.set_);
        return *this;
    }
    ~Roles() { roles_free(&set_); }

    roles_t get() const { return set_; }
    /// For the functions that change the set.
    roles_t *handle() { return &set_; }

    /// The names in the order they were added, separated by ", ".
    static std::string to_string(roles_t set);

  private:
    roles_t set_ = nullptr;
};

} // namespace zandorin::utilities
