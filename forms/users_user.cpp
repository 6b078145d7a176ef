#include "cgi/cgi.h"
#include "cgi/session_file.h"
#include "engine/engine.h"
#include "forms/users_account.h"
#include "forms/users_form.h"
#include "forms/users_keys.h"
#include "forms/users_pages.h"
#include "platform/accounts/authorized_keys.h"
#include "platform/accounts/user_store.h"
#include "ui/form.h"
#include "ui/inputs.h"
#include "ui/markup.h"
#include "ui/page.h"
#include "ui/table.h"

#include <algorithm>

// The edit page of a user.

namespace zandorin::users {

namespace {

constexpr Field name_field =
    nameField("Username", user_kind, "username", "Letters, digits, \".\", \"_\", \"-\" and \"@\".");
constexpr Field description_field =
    descriptionField("Who this is; stands in the login account too.");

constexpr Field disabled_field = {
    .label = "Disabled",
    .key = ".disabled",
    .type = "boolean",
    .help = "No login of any kind, until enabled again. Password, groups and keys are kept.",
};

constexpr Field login_fields[] = {
    {.label = "SSH Public Key Only",
     .key = ".ssh_pubkey_only",
     .type = "boolean",
     .help = "SSH takes no password of this user, only one of the keys."},
    {.label = "Password in Flash",
     .key = ".password_nvflash",
     .type = "boolean",
     .help = "Keep the password's hash in non-volatile flash, so that it outlives a configuration "
             "erase."},
    {.label = "Dashboard",
     .key = ".dashboard",
     .type = "alphanum",
     .help = "Name of the dashboard that this user sees first; empty for everybody's.",
     .maxlength = 64},
};

constexpr Field callback_fields[] = {
    {.label = "Dial-Back",
     .key = ".callback.enabled",
     .type = "boolean",
     .help = "A call of this user is ended and returned at the number below."},
    {.label = "Dial-Back Phone Number",
     .key = ".callback.phone",
     .type = "phonenumber",
     .maxlength = 64},
};

constexpr const char *outlet_list = "config.power.outlets";
constexpr const char *outlet_word = "outlet";

bool isRoot(const RecordForm &form) {
    return form.record().name == root_name;
}

std::string groupField(const std::string &group) {
    return "group." + group;
}

std::vector<std::string> storedGroups(const RecordForm &form) {
    return values(form.engine().config(), form.record().key + ".groups", "group");
}

/// Every group there is, and those of the user that are not there any more.
std::vector<std::string> offeredGroups(const RecordForm &form) {
    std::vector<std::string> names = groupNames(form.engine().config());
    for (const std::string &name : storedGroups(form))
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    return names;
}

std::vector<std::string> tickedGroups(const RecordForm &form) {
    const std::vector<std::string> stored = storedGroups(form);
    std::vector<std::string> names = offeredGroups(form);
    std::erase_if(names, [&](const std::string &name) {
        const bool isStored = std::find(stored.begin(), stored.end(), name) != stored.end();
        return !form.isTicked(groupField(name), isStored);
    });
    return names;
}

std::string groupBoxes(const RecordForm &form) {
    const ConfigManager &config = form.engine().config();
    const std::vector<std::string> ticked = tickedGroups(form);
    std::string html;
    for (const std::string &name : offeredGroups(form)) {
        const auto record = recordNamed(config, group_kind, name);
        const std::string description =
            record ? config.getElement(record->key + ".description") : "";
        const bool checked = std::find(ticked.begin(), ticked.end(), name) != ticked.end();
        html += (html.empty() ? "" : "<br>") +
                labelledBox(groupField(name), checked, name, description);
    }
    return html;
}

std::string outletBoxes(const RecordForm &form) {
    const ConfigManager &config = form.engine().config();
    std::string html;
    for (const unsigned number : numbers(config, outlet_list, outlet_word)) {
        const std::string text = std::to_string(number);
        const std::string label =
            config.getElement(std::string(outlet_list) + "." + outlet_word + text + ".label");
        const std::string name = form.record().key + ".power.outlet" + text;
        html += (html.empty() ? "" : "<br>") +
                labelledBox(name, form.isTicked(name, config.getBoolean(name)),
                            label.empty() ? "Outlet " + text : label);
    }
    return html;
}

std::string passwordInput(const RecordForm &form, const char *key) {
    // A stored password is never shown: any text makes the placeholder.
    return ui::textInput({.name = form.record().key + key,
                          .value = hasPassword(form.record().name) ? "x" : "",
                          .type = "password",
                          .maxlength = 255,
                          .allowAutocomplete = false});
}

void showIdentity(const RecordForm &form, ui::Table &table) {
    if (isRoot(form)) {
        table.labelledTextRow("Username", root_name);
        form.show(table, {&description_field, 1});
        table.inputRow("Password", "Set it on the page " +
                                       ui::link("?form=systemsettings", "Administration") + ".");
        table.inputRow("Groups", "<i>The root user has no editable groups</i>");
        return;
    }
    form.show(table, {&name_field, 1});
    form.show(table, {&description_field, 1});
    form.show(table, {&disabled_field, 1});
    table.inputRow("Groups", groupBoxes(form), "What the user may do follows from the groups.");
    table.inputRow("Password", passwordInput(form, ".password"));
    table.inputRow("Confirm Password", passwordInput(form, ".confirm"));
}

void checkUser(const RecordForm &form, const std::string &name) {
    Cgi &cgi = form.cgi();
    if (name.empty())
        cgi.addError("<i>Username</i> can not be empty.");
    else if (form.check(name_field, name) && !user_isname(name))
        cgi.addError("<i>Username</i> can only hold letters, digits, \".\", \"_\", \"-\" and "
                     "\"@\", and begins with a letter or digit.");
    const auto other = recordNamed(form.engine().config(), user_kind, name);
    if (other && other->name != form.record().name)
        cgi.addError("There is a user " + quoted(name) + " already.");
    else if (user_isname(name))
        checkAccount(form, name);
    if (form.record().name == form.engine().getCurrentUsername() && !isRoot(form)) {
        if (name != form.record().name)
            cgi.addError("You can not rename the account that you are logged in with.");
        if (form.isOn(disabled_field.key))
            cgi.addError("You can not disable the account that you are logged in with.");
    }
    form.check({&description_field, 1});
    if (!user_isfield(form.value(description_field.key)))
        cgi.addError("<i>Description</i> can not contain \":\" or control characters.");
    form.check(login_fields);
    form.check(callback_fields);
    if (form.isOn(".callback.enabled") && form.value(".callback.phone").empty())
        cgi.addError("<i>Dial-Back</i> needs a phone number.");
}

/// Puts the user into the configuration, below `key`.
void store(const RecordForm &form, const std::string &key, const std::string &name,
           const std::vector<std::string> &groups, const std::string &keys) {
    ConfigManager &config = form.engine().config();
    config.setElement(key + ".username", name);
    form.save({&description_field, 1}, key);
    if (!isRoot(form)) {
        form.save({&disabled_field, 1}, key);
        setValues(config, key + ".groups", "group", groups);
        // The hash stands in the account file alone.
        config.setElement(key + ".password", "x");
        config.delElement(key + ".plaintext_password");
    }
    form.save(login_fields, key);
    form.save(callback_fields, key);
    form.savePorts(key);
    for (const unsigned number : numbers(config, outlet_list, outlet_word))
        form.saveFlag(".power.outlet" + std::to_string(number), key);
    if (keys == config.getElement(key + keys_field))
        return;
    if (keys.empty())
        config.delElement(key + keys_field);
    else
        config.setElement(key + keys_field, keys);
    // From now on the file follows the configuration.
    config.setElement(key + ".ssh_auth_keys_modified", true);
}

bool updateAccount(const RecordForm &form, const std::string &key, const AccountTask &task,
                   const std::string &keys) {
    if (!applyAccount(task))
        return false;
    if (!form.engine().config().getBoolean(key + ".ssh_auth_keys_modified"))
        return true;
    const auto account = accountNamed(task.name);
    return account && writeAuthorizedKeys(*account, keys);
}

} // namespace

void showUser(const RecordForm &form) {
    Cgi &cgi = form.cgi();
    ui::Form html(cgi, form.engine().formId());
    html.openForm("post", "user", "?form=users", "multipart/form-data");
    ui::Table table(cgi);
    table.open();
    table.titleRow(form.isNew() ? "Add User" : "Edit User");
    showIdentity(form, table);
    table.titleRow("SSH Keys");
    constexpr int rows = 5;
    constexpr int cols = 60;
    table.textAreaInputRow("SSH Authorized Keys", form.record().key + keys_field,
                           form.value(keys_field, keys_limit), rows, cols,
                           "Public keys, one a line, as in a file <code>authorized_keys</code>.");
    table.inputRow("Upload Keys",
                   "<input type=\"file\"" +
                       ui::attribute("name", form.record().key + keys_file_field) + ">",
                   "A file of public keys, such as <code>id_ed25519.pub</code>; they are added to "
                   "those above.");
    table.titleRow("Login");
    form.show(table, login_fields);
    form.show(table, callback_fields);
    table.titleRow("Access");
    form.showPorts(table, "Ports that this user may use, besides those of the groups.");
    if (const std::string outlets = outletBoxes(form); !outlets.empty())
        table.inputRow("Power Outlets", outlets);
    table.applyButtonRow();
    table.close();
    closeTaskForm(html, form.isNew() ? "add" : "edit", user_kind, form.record());
}

void saveUser(const RecordForm &form) {
    Engine &engine = form.engine();
    Cgi &cgi = form.cgi();
    AccountTask task = {
        .oldName = form.record().name,
        .name = isRoot(form) ? root_name : form.value(name_field.key, name_field.maxlength),
        .description = form.value(description_field.key),
        .password = std::nullopt,
        .disabled = form.isOn(disabled_field.key),
        .way = passwordHashNamed(engine.config().getElement("config.auth.passwordhash"))};
    checkUser(form, task.name);
    const std::vector<std::string> groups = tickedGroups(form);
    if (!isRoot(form))
        task.password = submittedPassword(form, task.name, groups, storedGroups(form));
    const std::string keys = submittedKeys(form);
    if (cgi.hasErrors()) {
        if (task.password && !task.password->empty())
            cgi.addMessage("Nothing was saved. Type the password again.");
        return;
    }
    const std::string key =
        form.isNew() ? keyOf(user_kind, nextIndex(engine.config(), user_kind)) : form.record().key;
    store(form, key, task.name, groups, keys);
    writeTotal(engine.config(), user_kind);
    if (!updateAccount(form, key, task, keys)) {
        dropChanges(engine, cgi, "The user's login account could not be changed.");
        return;
    }
    if (!form.isNew() && (task.password || task.disabled || task.name != task.oldName))
        removeSessionsOf(task.oldName, engine.session().sessionId());
    saveConfiguration(engine, cgi, "User " + quoted(task.name) + " has been saved.");
}

} // namespace zandorin::users
