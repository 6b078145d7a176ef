#include "cgi/cgi.h"
#include "engine/engine.h"
#include "forms/users_account.h"
#include "forms/users_form.h"
#include "forms/users_pages.h"
#include "ui/form.h"
#include "ui/inputs.h"
#include "ui/page.h"
#include "ui/table.h"
#include "util/escape.h"

// The page of both lists, and the question before a record is deleted.

namespace zandorin::users {

namespace {

std::string actionLink(const char *action, const char *label, const Kind &kind,
                       const Record &record) {
    return ui::link(std::string("?form=users&action=") + action +
                        "&index=" + std::to_string(record.index) + "&type=" + kind.word,
                    label);
}

std::string links(const Kind &kind, const Record &record, bool disabled) {
    const bool isUser = &kind == &user_kind;
    std::string html = actionLink("edit", "Edit", kind, record);
    if (isUser ? record.name != root_name : !isBuiltIn(record.name))
        html += " " + actionLink("delete", "Delete", kind, record);
    if (isUser && record.name != root_name)
        html += " " + (disabled ? actionLink("enable", "Enable", kind, record)
                                : actionLink("disable", "Disable", kind, record));
    return html;
}

void openList(ui::Table &table, std::initializer_list<const char *> titles) {
    table.openRow();
    for (const char *title : titles)
        table.cell("field-label", title);
    table.closeRow();
}

/// A form of its own, so that the button works without scripts.
void addButton(Cgi &cgi, const Kind &kind, const char *label) {
    ui::Form form(cgi, "users");
    form.openForm("get", std::string("add-") + kind.word, "?form=users");
    form.hiddenInput("action", "add");
    form.hiddenInput("type", kind.word);
    cgi << "<p>" << ui::getApplyButton("add", label) << "</p>";
    form.closeForm();
}

std::string joinedText(const std::vector<std::string> &names) {
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : ", ") + escapeXmlText(name);
    return text;
}

std::string groupsOf(const ConfigManager &config, const Record &user) {
    if (user.name == root_name)
        return "<i>The root user has no editable groups</i>";
    const std::string names = joinedText(values(config, user.key + ".groups", "group"));
    return names.empty() ? "No groups assigned. <i>User has no Management Console access</i>"
                         : names;
}

/// What an administrator should know about a user's state.
std::string stateOf(const AccountFile &accounts, const Record &user, bool disabled) {
    const auto account = accounts.find(user.name);
    std::string text = disabled ? "disabled" : "";
    const auto add = [&text](const char *what) {
        text += (text.empty() ? "" : ", ") + std::string(what);
    };
    if (!account)
        add("no login account: edit the user and give a password");
    else if (!disabled && account->hash.starts_with("!"))
        add("login account locked: disable and enable the user");
    else if (disabled && isOwn(*account) && !account->hash.starts_with("!"))
        add("login account not locked: disable the user again");
    return text.empty() ? "" : "<br><i>" + text + "</i>";
}

std::string rolesOf(const ConfigManager &config, const Record &group) {
    utilities::Roles roles;
    roles_add_from_group(roles.handle(), group.name.c_str(), config);
    return utilities::Roles::to_string(roles.get());
}

void showGroups(Engine &engine, Cgi &cgi) {
    const ConfigManager &config = engine.config();
    const std::vector<Record> groups = records(config, group_kind);
    ui::Table table(cgi);
    table.open();
    table.titleRow("Groups");
    if (groups.empty())
        table.textRow("No groups currently configured.");
    else
        openList(table, {"Name", "Description", "Roles", ""});
    for (const Record &group : groups) {
        table.openRow();
        table.cell("field-input", group.name);
        table.cell("field-input", config.getElement(group.key + ".description"));
        table.cell("field-input", rolesOf(config, group));
        table.unsafeCell("field-input", links(group_kind, group, false));
        table.closeRow();
    }
    table.close();
    addButton(cgi, group_kind, "Add Group");
}

void showUsers(Engine &engine, Cgi &cgi) {
    const ConfigManager &config = engine.config();
    const std::vector<Record> users = records(config, user_kind);
    AccountFile accounts;
    accounts.read();
    ui::Table table(cgi);
    table.open();
    table.titleRow("Users");
    if (users.empty())
        table.textRow("No users currently configured.");
    else
        openList(table, {"Username", "Description", "Groups", ""});
    for (const Record &user : users) {
        const bool disabled = config.getBoolean(user.key + ".disabled");
        table.openRow();
        table.unsafeCell("field-input",
                         escapeXmlText(user.name) + stateOf(accounts, user, disabled));
        table.cell("field-input", config.getElement(user.key + ".description"));
        table.unsafeCell("field-input", groupsOf(config, user));
        table.unsafeCell("field-input", links(user_kind, user, disabled));
        table.closeRow();
    }
    table.close();
    addButton(cgi, user_kind, "Add User");
}

} // namespace

void showList(Engine &engine, Cgi &cgi) {
    showGroups(engine, cgi);
    showUsers(engine, cgi);
}

void showQuestion(Cgi &cgi, const Kind &kind, const Record &record) {
    const bool isUser = &kind == &user_kind;
    ui::Form form(cgi, "users");
    form.openForm("post", "delete", "?form=users");
    ui::Table table(cgi);
    table.open();
    table.titleRow(isUser ? "Delete User" : "Delete Group");
    table.textRow(isUser ? "Delete the user '" + record.name +
                               "' with the login account, the home folder and all files in it?"
                         : "Delete the group '" + record.name +
                               "'? Its members stay, without the group's roles.");
    table.openRow();
    table.openCell("field-input", 99);
    cgi << ui::getApplyButton("apply", "Delete") << " " << ui::link("?form=users", "Keep");
    table.closeCell();
    table.closeRow();
    table.close();
    closeTaskForm(form, "delete", kind, record);
}

} // namespace zandorin::users
