#include "forms/users_account.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "forms/users_form.h"
#include "platform/accounts/user_store.h"
#include "ui/inputs.h"
#include "util/exception.h"
#include "util/log.h"
#include "util/strings.h"

#include <algorithm>
#include <cerrno>

namespace zandorin::users {

namespace {

constexpr uid_t first_uid = 1000;
constexpr std::size_t password_limit = 255; // bytes, as the login form reads them

/// Protocols that prove the password without sending it: what they check against is made from the
/// clear password, at the one moment in which it is known.
constexpr const char *clear_password_groups[] = {"dialin", "pptpd"};

std::string clearPasswordGroups() {
    std::string names;
    for (const char *name : clear_password_groups)
        names.append(names.empty() ? "" : ", ").append(name);
    return names;
}

bool holds(const std::vector<std::string> &names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool isLocal(const ConfigManager &config) {
    const std::string type = config.getElement("config.auth.type");
    return type.empty() || type == "Local";
}

} // namespace

std::optional<Account> accountNamed(const std::string &name) {
    if (name.empty())
        return std::nullopt;
    AccountFile accounts;
    if (!accounts.read() && errno != ENOENT)
        throw utilities::Exception("The login accounts can not be read.");
    return accounts.find(name);
}

bool isOwn(const Account &account) {
    return account.uid >= first_uid && account.home == "/etc/config/users/" + account.name;
}

bool hasPassword(const std::string &name) {
    const auto account = accountNamed(name);
    return account && account->hash != "*" && account->hash != "!*";
}

std::optional<std::string> submittedPassword(const RecordForm &form, const std::string &name,
                                             const std::vector<std::string> &groups,
                                             const std::vector<std::string> &before) {
    Cgi &cgi = form.cgi();
    std::string password = form.value(".password", password_limit);
    const bool repeated = password == form.value(".confirm", password_limit);
    // Under the new name, where renaming the account was done before and something failed after it.
    const std::string &oldName = form.record().name;
    const bool isStored =
        oldName.empty() || accountNamed(oldName) ? hasPassword(oldName) : hasPassword(name);
    const bool unchanged = isStored && password == ui::password_placeholder;
    if (!isStored && password == ui::password_placeholder)
        password.clear();
    if (!repeated)
        cgi.addError("Password mismatch for user: " + quoted(name));
    if (hasControlCharacter(password))
        cgi.addError("<i>Password</i> can not contain control characters.");
    if (password.size() > password_limit)
        cgi.addError("<i>Password</i> can not be longer than " + std::to_string(password_limit) +
                     " bytes.");

    const auto any = [&](auto predicate) {
        return std::any_of(std::begin(clear_password_groups), std::end(clear_password_groups),
                           predicate);
    };
    if (unchanged &&
        any([&](const char *group) { return holds(groups, group) && !holds(before, group); }))
        cgi.addError("When initially adding users to one of the following groups: " +
                     clearPasswordGroups() + ", the user's password must be respecified.");
    if (password.empty() && isLocal(form.engine().config()))
        cgi.addError("Password cannot be empty when using <i>Local File</i> authentication for "
                     "user: " +
                     quoted(name));
    else if (password.empty() && any([&](const char *group) { return holds(groups, group); }))
        cgi.addError("Password cannot be empty when user is in one of the following groups: " +
                     clearPasswordGroups());
    if (!unchanged)
        return password;
    logRecord(Priority::info, "Password has not changed: %s", name.c_str());
    return std::nullopt;
}

void checkAccount(const RecordForm &form, const std::string &name) {
    const std::string &oldName = form.record().name;
    if (oldName == root_name)
        return;
    const auto old = oldName.empty() ? std::nullopt : accountNamed(oldName);
    const auto found = name == oldName ? old : accountNamed(name);
    if ((old && !isOwn(*old)) || (found && !isOwn(*found)) || name == root_name)
        form.cgi().addError("The account " + quoted(old && !isOwn(*old) ? oldName : name) +
                            " belongs to the system.");
    else if (old && found && name != oldName)
        form.cgi().addError("There is an account " + quoted(name) + " already.");
}

bool applyAccount(const AccountTask &task) {
    if (task.name == root_name)
        return user_setdescription(task.name, task.description) == 0;
    const std::string &oldName = task.oldName.empty() ? task.name : task.oldName;
    if (accountNamed(oldName) || accountNamed(task.name))
        return user_changeuser(oldName, {.name = task.name,
                                         .password = task.password,
                                         .way = task.way,
                                         .description = task.description,
                                         .enabled = !task.disabled}) == 0;
    return user_adduser(task.name, task.password.value_or(""), task.description, task.way) == 0 &&
           (!task.disabled || user_changeuser(task.name, {.enabled = false}) == 0);
}

} // namespace zandorin::users
