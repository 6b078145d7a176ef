#include "platform/accounts/user_store.h"
#include "platform/libzandorin/config_manager.h"
#include "platform/libzdsupport/roles.h"
#include "settings/appliance_options.h"
#include "settings/fields.h"
#include "settings/records.h"
#include "settings/registry.h"
#include "util/escape.h"

// Users and groups. The login accounts that follow them: users_page.cpp.

namespace zandorin::settings {
namespace {

constexpr const char *root = "root";
constexpr const char *root_groups = "<i>The root user has no editable groups</i>";

/// Any text, for the login account of the user: what it is, is never shown.
std::string password(const ConfigManager &config, const std::string &key) {
    const std::string user = key.substr(0, key.rfind('.'));
    return user_haspassword(config.getElement(user + ".username")) ? "x" : "";
}

std::string groupsOf(const ConfigManager &config, const std::string &user) {
    if (config.getElement(user + ".username") == root)
        return root_groups;
    std::string names;
    for (const std::string &name : readTextList(config, user + ".groups", "group"))
        names += (names.empty() ? "" : ", ") + escapeXmlText(name);
    return names.empty() ? "No groups assigned. <i>User has no Management Console access</i>"
                         : names;
}

constexpr Field secret(const char *label, const char *key) {
    return {.label = label,
            .key = key,
            .type = "password",
            .input = Input::password,
            .maxlength = 255,
            .held = password};
}

constexpr Field description = {
    .label = "Description",
    .key = ".description",
    .type = "printable",
    .help = "Who this is; the login account says so too.",
    .maxlength = 255,
    .accepts = user_isfield,
    .refusal = "<i>Description</i> can not contain \":\" or control characters."};
constexpr Field user_account[] = {
    {.label = "Username",
     .key = ".username",
     .type = "username",
     .help = "Letters, digits, \".\", \"_\", \"-\" and \"@\".",
     .maxlength = 64,
     .accepts = user_isname,
     .refusal = "<i>Username</i> can only hold letters, digits, \".\", \"_\", \"-\" and \"@\", and "
                "begins with a letter or digit.",
     .missing = "<i>Username</i> can not be empty."},
    description,
    boxField("Disabled", ".disabled",
             "No login of any kind, until enabled again. Password, groups and keys are kept."),
    {.label = "Groups",
     .key = ".groups",
     .input = Input::set,
     .options = groupOptions,
     .help = "What the user may do follows from the groups.",
     .word = "group",
     .posted = "group."},
    secret("Password", ".password"),
    secret("Confirm Password", ".confirm"),
};
constexpr Field root_account[] = {
    {.label = "Username", .input = Input::note, .help = root},
    description,
    {.label = "Password",
     .input = Input::note,
     .help = "Set it on the page <a href=\"?form=systemsettings\">Administration</a>."},
    {.label = "Groups", .input = Input::note, .help = root_groups},
};
constexpr Field user_keys[] = {
    {.label = "SSH Authorized Keys",
     .key = ".ssh_auth_keys",
     .type = "sshauthkey",
     .input = Input::lines,
     .help = "Public keys, one a line, as in a file <code>authorized_keys</code>.",
     .maxlength = 16383},
    {.label = "Upload Keys",
     .key = ".ssh_auth_keys.file",
     .input = Input::file,
     .help = "A file of public keys, such as <code>id_ed25519.pub</code>; they are added to those "
             "above.",
     .refusal = "The file of SSH keys is no text file. Upload a public key.",
     .word = "SSH keys"},
};
constexpr Field user_login[] = {
    boxField("SSH Public Key Only", ".ssh_pubkey_only",
             "SSH takes no password of this user, only one of the keys."),
    boxField("Password in Flash", ".password_nvflash",
             "Keep the password's hash in non-volatile flash, so that it outlives a configuration "
             "erase."),
    {.label = "Dashboard",
     .key = ".dashboard",
     .type = "alphanum",
     .help = "Name of the dashboard that this user sees first; empty for everybody's.",
     .maxlength = 64},
    boxField("Dial-Back", ".callback.enabled",
             "A call of this user is ended and returned at the number below."),
    {.label = "Dial-Back Phone Number",
     .key = ".callback.phone",
     .type = "phonenumber",
     .maxlength = 64,
     .required = {".callback.enabled"},
     .missing = "<i>Dial-Back</i> needs a phone number."},
};
constexpr Field user_access[] = {
    portBoxes("Ports that this user may use, besides those of the groups."),
    outletBoxes(),
};
constexpr Section user_sections[] = {
    {.title = "", .fields = user_account, .except = {".username", root}},
    {.title = "", .fields = root_account, .where = {".username", root}},
    {.title = "SSH Keys", .fields = user_keys},
    {.title = "Login", .fields = user_login},
    {.title = "Access", .fields = user_access},
};
constexpr Column user_columns[] = {
    {.title = "Username", .key = ".username"},
    {.title = "Description", .key = ".description"},
    {.title = "Groups", .status = groupsOf, .markup = true},
};

constexpr Field group_name[] = {
    {.label = "Group Name",
     .key = ".name",
     .type = "groupposix",
     .help = "Letters, digits, \".\", \"_\" and \"-\".",
     .maxlength = 64,
     .missing = "<i>Group Name</i> can not be empty."},
};
constexpr Field built_in_name[] = {
    {.label = "Group Name", .key = ".name", .input = Input::note},
};
constexpr Field group_fields[] = {
    {.label = "Description", .key = ".description", .type = "printable", .maxlength = 255},
    {.label = "Roles",
     .key = ".roles",
     .input = Input::set,
     .options = roleOptions,
     .help = "What the members may do.",
     .word = "role",
     .posted = "role."},
    portBoxes("Ports that the members may use."),
};
constexpr Section group_sections[] = {
    {.title = "", .fields = group_name, .except = {".name", built_in_groups}},
    {.title = "", .fields = built_in_name, .where = {".name", built_in_groups}},
    {.title = "", .fields = group_fields},
};
constexpr Column group_columns[] = {
    {.title = "Name", .key = ".name"},
    {.title = "Description", .key = ".description"},
    {.title = "Roles", .status = rolesOfGroup},
};

constexpr Mention in_users[] = {{"config.users", "user", ".groups", "group"}};

constexpr List lists[] = {
    {.key = "config.groups",
     .word = "group",
     .title = "Groups",
     .singular = "Group",
     .empty = "No groups currently configured.",
     .name = ".name",
     .columns = group_columns,
     .sections = group_sections,
     .question = "Delete the group '{}'? Its members stay, without the group's roles.",
     .fixed = built_in_groups,
     .refusal = "The group {} is built in and",
     .mentions = in_users},
    {.key = "config.users",
     .word = "user",
     .title = "Users",
     .singular = "User",
     .empty = "No users currently configured.",
     .name = ".username",
     .columns = user_columns,
     .sections = user_sections,
     .question = "Delete the user '{}' with the login account, the home folder and all files in "
                 "it?",
     .toggle = ".disabled",
     .toggled = "Account for user: {}",
     .fixed = root,
     .refusal = "The root user"},
};

constexpr Page page = {.lists = lists};

const AutoRegisterPage registration("users", packed<page>());

} // namespace
} // namespace zandorin::settings
