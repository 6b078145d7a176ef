#include "cgi/cgi.h"
#include "cgi/session_file.h"
#include "engine/engine.h"
#include "forms/users_account.h"
#include "forms/users_form.h"
#include "forms/users_pages.h"
#include "platform/accounts/user_store.h"
#include "util/escape.h"
#include "util/exception.h"

// What the links and the confirmation page do.

namespace zandorin::users {

namespace {

/// False, with an error, for a user whom the page must leave alone.
bool mayTouch(Engine &engine, Cgi &cgi, const Record &record, const std::string &verb) {
    if (record.name == root_name)
        cgi.addError("The root user can not be " + verb + "d.");
    else if (record.name == engine.getCurrentUsername())
        cgi.addError("You can not " + verb + " the account that you are logged in with.");
    else if (const auto account = accountNamed(record.name); account && !isOwn(*account))
        cgi.addError("The account " + quoted(record.name) + " belongs to the system.");
    else
        return true;
    return false;
}

} // namespace

void saveConfiguration(Engine &engine, Cgi &cgi, const std::string &done) {
    engine.setForceSubmit(true);
    try {
        engine.configure();
    } catch (const utilities::Exception &) {
        cgi.addError("The login account has been changed already. Try again, so that the "
                     "configuration says the same.");
        throw;
    }
    cgi.addMessage(done);
}

void dropChanges(Engine &engine, Cgi &cgi, const char *failure) {
    engine.config().read();
    cgi.addError(std::string(failure) + " Nothing was saved in the configuration.");
}

void removeUser(Engine &engine, Cgi &cgi, const Record &record) {
    if (!mayTouch(engine, cgi, record, "delete"))
        return;
    removeRecord(engine.config(), user_kind, record.index);
    // Without an account there may still be its home folder: a deletion may have been interrupted.
    if (user_isname(record.name) && user_deluser(record.name) != 0) {
        dropChanges(engine, cgi, "The user's login account could not be deleted.");
        return;
    }
    removeSessionsOf(record.name, "");
    saveConfiguration(engine, cgi, "User " + quoted(record.name) + " has been deleted.");
}

void removeGroup(Engine &engine, Cgi &cgi, const Record &record) {
    if (isBuiltIn(record.name)) {
        cgi.addError("The group " + quoted(record.name) + " is built in and can not be deleted.");
        return;
    }
    removeRecord(engine.config(), group_kind, record.index);
    renameInUsers(engine.config(), record.name, "");
    if (user_delgroup(record.name) != 0) {
        dropChanges(engine, cgi, "The group could not be deleted.");
        return;
    }
    saveConfiguration(engine, cgi, "Group " + quoted(record.name) + " has been deleted.");
}

void enableUser(Engine &engine, Cgi &cgi, const Record &record, bool enable) {
    if (!mayTouch(engine, cgi, record, enable ? "enable" : "disable"))
        return;
    const std::string key = record.key + ".disabled";
    if (enable)
        engine.config().delElement(key);
    else
        engine.config().setElement(key, true);
    if (accountNamed(record.name) && user_changeuser(record.name, {.enabled = enable}) != 0) {
        dropChanges(engine, cgi, "The user's login account could not be changed.");
        return;
    }
    if (!enable)
        removeSessionsOf(record.name, "");
    saveConfiguration(engine, cgi,
                      "Account for user: " + encodeSafe(record.name) + " has been <b>" +
                          (enable ? "enabled" : "disabled") + "</b>");
}

} // namespace zandorin::users
