#include "cgi/cgi.h"
#include "cgi/session_file.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "platform/accounts/account_file.h"
#include "platform/accounts/authorized_keys.h"
#include "platform/accounts/user_store.h"
#include "settings/devices.h"
#include "ui/list_page.h"
#include "ui/settings_page.h"
#include "util/escape.h"
#include "util/log.h"
#include "util/split.h"

#include <algorithm>

// Login accounts follow the configuration, which is the master copy: see docs/users.md. Everything
// is checked, then the account is changed, last the configuration is written. Accounts change at
// once, even where configuration changes are queued: who is disabled or deleted is so now.

namespace zandorin::users {
namespace {

using ui::RecordChange;

constexpr const char *root_name = "root";
/// Protocols that prove the password without sending it: what they check against is made from the
/// clear password, at the one moment in which it is known.
constexpr const char *clear_password_groups = "dialin, pptpd";

bool isUser(const RecordChange &change) {
    return std::string_view(change.list.word) == "user";
}

bool isRoot(const RecordChange &change) {
    return isUser(change) && change.name == root_name;
}

bool joins(const std::vector<std::string> &groups, const std::vector<std::string> &before = {}) {
    for (const std::string &name : utilities::split(clear_password_groups, ", "))
        if (std::count(groups.begin(), groups.end(), name) >
            std::count(before.begin(), before.end(), name))
            return true;
    return false;
}

/// The submitted password when it is a new one; "" when the account is to have none.
std::optional<std::string> newPassword(const RecordChange &change) {
    const auto *password = change.values->find(".password");
    if (password == nullptr)
        return std::nullopt;
    if (password->text != settings::password_placeholder)
        return password->text;
    // Under the new name, where renaming the account was done before and something failed after it.
    const bool isOld = change.name.empty() || user_find(change.name);
    return user_haspassword(isOld ? change.name : change.nameToBe())
               ? std::nullopt
               : std::optional<std::string>("");
}

void checkPassword(Engine &engine, Cgi &cgi, const RecordChange &change) {
    const std::string name = change.nameToBe();
    const auto password = newPassword(change);
    const auto &groups = *change.values->find(".groups");
    if (change.values->text(".password") != change.values->text(".confirm"))
        cgi.addError("Password mismatch for user: " + quoted(name));
    if (!password) {
        logRecord(Priority::info, "Password has not changed: %s", name.c_str());
        if (joins(groups.list, groups.storedList))
            cgi.addError(std::string("When initially adding users to one of the following "
                                     "groups: ") +
                         clear_password_groups + ", the user's password must be respecified.");
        return;
    }
    const std::string type = engine.config().getElement("config.auth.type");
    if (password->empty() && (type.empty() || type == "Local"))
        cgi.addError("Password cannot be empty when using <i>Local File</i> authentication for "
                     "user: " +
                     quoted(name));
    else if (password->empty() && joins(groups.list))
        cgi.addError(std::string("Password cannot be empty when user is in one of the following "
                                 "groups: ") +
                     clear_password_groups);
}

/// Accounts of the system, and of other users, are left alone.
void checkAccount(Cgi &cgi, const RecordChange &change) {
    const std::string name = change.nameToBe();
    const auto old = user_find(change.name);
    const auto found = name == change.name ? old : user_find(name);
    const bool isOldOwn = !old || user_isown(*old);
    if (!isOldOwn || (found && !user_isown(*found)) || name == root_name)
        cgi.addError("The account " + quoted(isOldOwn ? name : change.name) +
                     " belongs to the system.");
    else if (old && found && name != change.name)
        cgi.addError("There is an account " + quoted(name) + " already.");
}

void checkUser(Engine &engine, Cgi &cgi, const RecordChange &change) {
    checkAccount(cgi, change);
    checkPassword(engine, cgi, change);
    if (change.name != engine.getCurrentUsername())
        return;
    if (change.nameToBe() != change.name)
        cgi.addError("You can not rename the account that you are logged in with.");
    if (!ui::textToBe(engine, *change.values->find(".disabled")).empty())
        cgi.addError("You can not disable the account that you are logged in with.");
}

void check(Engine &engine, const RecordChange &change) {
    Cgi &cgi = *engine.cgi();
    if (!isUser(change) || isRoot(change))
        return;
    if (change.values != nullptr)
        checkUser(engine, cgi, change);
    else if (change.name == engine.getCurrentUsername())
        cgi.addError("You can not " + change.action + " the account that you are logged in with.");
    else if (const auto account = user_find(change.name); account && !user_isown(*account))
        cgi.addError("The account " + quoted(change.name) + " belongs to the system.");
}

/// Makes or changes the account, in one step; an account that is there without a user becomes this
/// user's.
bool applyAccount(Engine &engine, const RecordChange &change) {
    const std::string name = change.nameToBe();
    const std::string description = ui::textToBe(engine, *change.values->find(".description"));
    if (isRoot(change))
        return user_setdescription(name, description) == 0;
    return user_putuser(
               change.name.empty() ? name : change.name,
               {.name = name,
                .password = newPassword(change),
                .way = passwordHashNamed(engine.config().getElement("config.auth.passwordhash")),
                .description = description,
                .enabled = ui::textToBe(engine, *change.values->find(".disabled")).empty()}) == 0;
}

/// The keys as they will be, where the file follows them: from their first change here on.
bool applyKeys(Engine &engine, const RecordChange &change) {
    const auto &stored = *change.values->find(".ssh_auth_keys");
    const std::string keys = ui::textToBe(engine, stored);
    if (keys == stored.stored &&
        !engine.config().getBoolean(change.key + ".ssh_auth_keys_modified"))
        return true;
    const auto account = user_find(change.nameToBe());
    return account && writeAuthorizedKeys(*account, keys);
}

const char *saveUser(Engine &engine, const RecordChange &change) {
    if (!applyAccount(engine, change) || !applyKeys(engine, change))
        return "The user's login account could not be changed.";
    const auto *disabled = change.values->find(".disabled");
    const bool ends = newPassword(change) || change.nameToBe() != change.name ||
                      (disabled != nullptr && !ui::textToBe(engine, *disabled).empty());
    if (!change.name.empty() && ends)
        removeSessionsOf(change.name, engine.session().sessionId());
    return nullptr;
}

const char *touchUser(const RecordChange &change) {
    const std::string &name = change.name;
    const bool enables = change.action == "enable";
    // Without an account there may still be its home folder: a deletion may have been interrupted.
    if (change.action == "delete") {
        if (user_isname(name) && user_deluser(name) != 0)
            return "The user's login account could not be deleted.";
    } else if (user_find(name) && user_changeuser(name, {.enabled = enables}) != 0) {
        return "The user's login account could not be changed.";
    }
    if (!enables)
        removeSessionsOf(name, "");
    return nullptr;
}

const char *applyGroup(const RecordChange &change) {
    const std::string &name = change.name;
    if (change.action == "delete")
        return user_delgroup(name) == 0 ? nullptr : "The group could not be deleted.";
    const std::string newName = change.nameToBe();
    const bool done =
        (name.empty() || user_renamegroup(name, newName) == 0) && user_addgroup(newName) == 0;
    return done ? nullptr : "The group could not be changed.";
}

void apply(Engine &engine, const RecordChange &change) {
    const char *failure = !isUser(change)            ? applyGroup(change)
                          : change.values == nullptr ? touchUser(change)
                                                     : saveUser(engine, change);
    if (failure != nullptr)
        engine.cgi()->addError(std::string(failure) + " Nothing was saved in the configuration.");
}

void store(Engine &engine, const RecordChange &change) {
    ConfigManager &config = engine.config();
    if (!isUser(change) || change.values == nullptr)
        return;
    if (!isRoot(change)) {
        // The hash is in the account file alone.
        config.setElement(change.key + ".password", "x");
        config.delElement(change.key + ".plaintext_password");
    }
    const auto &keys = *change.values->find(".ssh_auth_keys");
    if (config.getElement(keys.key) != keys.stored)
        config.setElement(change.key + ".ssh_auth_keys_modified", true);
}

/// What an administrator should know about a user's state, behind the name.
std::string stateOf(const ConfigManager &config, const AccountFile &accounts,
                    const std::string &key) {
    const auto account = accounts.find(config.getElement(key + ".username"));
    const bool disabled = config.getBoolean(key + ".disabled");
    const bool isLocked = account && account->hash.starts_with("!");
    std::string text = disabled ? "disabled, " : "";
    if (!account)
        text += "no login account: edit the user and give a password, ";
    else if (!disabled && isLocked)
        text += "login account locked: disable and enable the user, ";
    else if (disabled && user_isown(*account) && !isLocked)
        text += "login account not locked: disable the user again, ";
    return text.empty() ? "" : "<br><i>" + text.substr(0, text.size() - 2) + "</i>";
}

void define(Engine &engine) {
    if (engine.formWasSubmitted())
        engine.lockSettings();
    settings::moveOutlets(engine.config());
    ui::defineRecords(engine, *ui::settingsPage(engine),
                      {.check = check,
                       .apply = apply,
                       .store = store,
                       .halfDone = "The login account has been changed already. Try again, so that "
                                   "the configuration says the same."});
}

void render(Engine &engine) {
    AccountFile accounts;
    accounts.read();
    ui::renderRecords(engine, *ui::settingsPage(engine),
                      {.note = [&](const settings::Column &column, const settings::Part &record) {
                          return std::string_view(column.key) == ".username"
                                     ? stateOf(engine.config(), accounts, record.place.keys)
                                     : "";
                      }});
}

const AutoRegisterFormlet registration("users", define, render);

} // namespace
} // namespace zandorin::users
