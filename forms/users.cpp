#include "platform/accounts/user_store.h"
#include "platform/libzandorin/config_manager.h"
#include "platform/libzdsupport/roles.h"
#include "settings/appliance_options.h"
#include "settings/records.h"
#include "settings/registry.h"
#include "util/escape.h"
#include "util/split.h"

#include <algorithm>

// Users and groups. The login accounts that follow them: users_page.cpp.

namespace zandorin::settings {
namespace {

constexpr const char *root = "root";
constexpr const char *root_groups = "<i>The root user has no editable groups</i>";
/// Groups that exist without a record, with roles of their own.
constexpr const char *built_in = "admin netgrp dialin pmshell pmoperator pptpd";

bool holds(const std::vector<std::string> &texts, const std::string &text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

std::vector<Option> groups(const ConfigManager &config, const std::string &) {
    std::vector<Option> options;
    for (const std::string &name : utilities::split(built_in, " "))
        options.emplace_back(name);
    const RecordList records("config.groups", "group");
    for (const unsigned number : records.numbers(config)) {
        const std::string name = config.getElement(records.keyOf(number) + ".name");
        auto option = std::find_if(options.begin(), options.end(),
                                   [&](const Option &each) { return each.value == name; });
        if (option == options.end() && !name.empty())
            option = options.insert(options.end(), name);
        if (option != options.end() && option->title.empty())
            option->title = config.getElement(records.keyOf(number) + ".description");
    }
    return options;
}

/// What a group has without a record of it cannot be taken from it.
std::vector<Option> roles(const ConfigManager &config, const std::string &group) {
    utilities::Roles all;
    roles_add_from_group(all.handle(), config.getElement(group + ".name").c_str(), config);
    const std::vector<std::string> stored = readTextList(config, group + ".roles", "role");
    std::vector<Option> options;
    for (const role_record *role = ALL_ROLES; role->name != nullptr; ++role) {
        Option &option = options.emplace_back(role->name);
        option.title = role->description;
        option.fixed = roles_has(all.get(), role->name) && !holds(stored, role->name);
    }
    return options;
}

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

std::string rolesOf(const ConfigManager &config, const std::string &group) {
    utilities::Roles all;
    roles_add_from_group(all.handle(), config.getElement(group + ".name").c_str(), config);
    return utilities::Roles::to_string(all.get());
}

std::string stored(const ConfigManager &config, const std::string &key) {
    return config.getElement(key);
}

constexpr Field box(const char *label, const char *key, const char *help) {
    return {.label = label, .key = key, .type = "boolean", .input = Input::check, .help = help};
}
constexpr Field portBoxes(const char *help) {
    return {.label = "Serial Ports",
            .key = ".port",
            .type = "boolean",
            .input = Input::flags,
            .options = portOptions,
            .help = help,
            .grid = true};
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
    box("Disabled", ".disabled",
        "No login of any kind, until enabled again. Password, groups and keys are kept."),
    {.label = "Groups",
     .key = ".groups",
     .input = Input::set,
     .options = groups,
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
    box("SSH Public Key Only", ".ssh_pubkey_only",
        "SSH takes no password of this user, only one of the keys."),
    box("Password in Flash", ".password_nvflash",
        "Keep the password's hash in non-volatile flash, so that it outlives a configuration "
        "erase."),
    {.label = "Dashboard",
     .key = ".dashboard",
     .type = "alphanum",
     .help = "Name of the dashboard that this user sees first; empty for everybody's.",
     .maxlength = 64},
    box("Dial-Back", ".callback.enabled",
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
    {.label = "Power Outlets",
     .key = ".power.outlet",
     .type = "boolean",
     .input = Input::flags,
     .options = outletOptions},
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
    {.label = "Group Name", .key = ".name", .input = Input::note, .status = stored},
};
constexpr Field group_fields[] = {
    {.label = "Description", .key = ".description", .type = "printable", .maxlength = 255},
    {.label = "Roles",
     .key = ".roles",
     .input = Input::set,
     .options = roles,
     .help = "What the members may do.",
     .word = "role",
     .posted = "role."},
    portBoxes("Ports that the members may use."),
};
constexpr Section group_sections[] = {
    {.title = "", .fields = group_name, .except = {".name", built_in}},
    {.title = "", .fields = built_in_name, .where = {".name", built_in}},
    {.title = "", .fields = group_fields},
};
constexpr Column group_columns[] = {
    {.title = "Name", .key = ".name"},
    {.title = "Description", .key = ".description"},
    {.title = "Roles", .status = rolesOf},
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
     .fixed = built_in,
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
