#include "cgi/cgi.h"
#include "engine/engine.h"
#include "forms/users_form.h"
#include "forms/users_pages.h"
#include "platform/accounts/user_store.h"
#include "platform/libzdsupport/roles.h"
#include "ui/form.h"
#include "ui/table.h"

#include <algorithm>

// The edit page of a group.

namespace zandorin::users {

namespace {

constexpr Field name_field =
    nameField("Group Name", group_kind, "groupposix", "Letters, digits, \".\", \"_\" and \"-\".");
constexpr Field description_field = descriptionField();

std::string roleField(const std::string &role) {
    return "role." + role;
}

std::string roleBoxes(const RecordForm &form) {
    const ConfigManager &config = form.engine().config();
    const std::vector<std::string> stored = values(config, form.record().key + ".roles", "role");
    const auto isStored = [&](const char *role) {
        return std::find(stored.begin(), stored.end(), role) != stored.end();
    };
    utilities::Roles all;
    roles_add_from_group(all.handle(), form.record().name.c_str(), config);
    std::string html;
    for (const role_record *role = ALL_ROLES; role->name != nullptr; ++role) {
        // What a group has without a record of it cannot be taken from it.
        const bool fixed = roles_has(all.get(), role->name) && !isStored(role->name);
        const bool checked = fixed || form.isTicked(roleField(role->name), isStored(role->name));
        html += (html.empty() ? "" : "<br>") +
                labelledBox(roleField(role->name), checked, role->name, role->description, fixed);
    }
    return html;
}

std::vector<std::string> tickedRoles(const RecordForm &form) {
    std::vector<std::string> roles;
    for (const role_record *role = ALL_ROLES; role->name != nullptr; ++role)
        if (form.isTicked(roleField(role->name), false))
            roles.emplace_back(role->name);
    return roles;
}

void checkGroup(const RecordForm &form, const std::string &name) {
    Cgi &cgi = form.cgi();
    const std::string &oldName = form.record().name;
    if (name.empty())
        cgi.addError("<i>Group Name</i> can not be empty.");
    else
        form.check(name_field, name);
    if (name != oldName && isBuiltIn(oldName))
        cgi.addError("The group " + quoted(oldName) + " is built in and can not be renamed.");
    const auto other = recordNamed(form.engine().config(), group_kind, name);
    if (name != oldName && (other || (!form.isNew() && isBuiltIn(name))))
        cgi.addError("There is a group " + quoted(name) + " already.");
    form.check({&description_field, 1});
}

} // namespace

void showGroup(const RecordForm &form) {
    Cgi &cgi = form.cgi();
    ui::Form html(cgi, form.engine().formId());
    html.openForm("post", "group", "?form=users");
    if (isBuiltIn(form.record().name))
        html.hiddenInput(form.record().key + name_field.key, form.record().name);
    ui::Table table(cgi);
    table.open();
    table.titleRow(form.isNew() ? "Add Group" : "Edit Group");
    if (isBuiltIn(form.record().name))
        table.labelledTextRow(name_field.label, form.record().name);
    else
        form.show(table, {&name_field, 1});
    form.show(table, {&description_field, 1});
    table.inputRow("Roles", roleBoxes(form), "What the members may do.");
    form.showPorts(table, "Ports that the members may use.");
    table.applyButtonRow();
    table.close();
    closeTaskForm(html, form.isNew() ? "add" : "edit", group_kind, form.record());
}

void saveGroup(const RecordForm &form) {
    Engine &engine = form.engine();
    ConfigManager &config = engine.config();
    const std::string &oldName = form.record().name;
    const std::string name = form.value(name_field.key, name_field.maxlength);
    checkGroup(form, name);
    if (form.cgi().hasErrors())
        return;
    const std::string key =
        form.isNew() ? keyOf(group_kind, nextIndex(config, group_kind)) : form.record().key;
    config.setElement(key + name_field.key, name);
    form.save({&description_field, 1}, key);
    setValues(config, key + ".roles", "role", tickedRoles(form));
    form.savePorts(key);
    writeTotal(config, group_kind);
    if (!form.isNew() && name != oldName)
        renameInUsers(config, oldName, name);
    if ((!form.isNew() && user_renamegroup(oldName, name) != 0) || user_addgroup(name) != 0) {
        dropChanges(engine, form.cgi(), "The group could not be changed.");
        return;
    }
    saveConfiguration(engine, form.cgi(), "Group " + quoted(name) + " has been saved.");
}

} // namespace zandorin::users
