#include "forms/autoresponse_command.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "forms/autoresponse_records.h"
#include "forms/autoresponse_settings.h"
#include "platform/libzandorin/serial_ports.h"
#include "util/escape.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zandorin::autoresponse {

namespace {

/// Two administrators must not number one list anew at the same time. Held until the process ends,
/// by when the configuration is written; what was read before may be old.
bool lockRecords(Engine &engine, Cgi &cgi) {
    constexpr const char *path = "/var/run/autoresponse.lock";
    UniqueFd lock = lockFile(appliancePath(path));
    if (!lock) {
        logRecord(Priority::error, "Failed to lock %s: %s", path, std::strerror(errno));
        cgi.addError("The list of auto-responses is being changed by somebody else. Nothing was "
                     "changed; please try again.");
        return false;
    }
    static_cast<void>(lock.release());
    if (engine.config().read())
        return true;
    cgi.addError("Failed to read configuration.");
    return false;
}

/// False, with an error, when the record is not what the submitted page was made from.
bool isFresh(Engine &engine, Cgi &cgi, unsigned index) {
    const std::string now = fingerprint(engine.config(), index);
    if (now.empty()) {
        cgi.addError("There is no such auto-response any more. Nothing was changed.");
        return false;
    }
    if (now == cgi.getVarString(opened_field).raw)
        return true;
    cgi.addError("This auto-response was changed after this page was opened. Nothing was saved; "
                 "please open it again from the list.");
    return false;
}

/// Has the engine check the declared elements now, after every other check, so that the store is
/// touched only when all of them have passed. This form stores the values itself.
void checkElements(Engine &engine) {
    engine.validateForm();
    engine.elements().clear();
}

bool isNameTaken(const ConfigManager &config, const std::string &name, unsigned exceptFor) {
    const unsigned count = countEntries(config, all_records);
    for (unsigned number = 1; number <= count; ++number)
        if (number != exceptFor && config.getElement(recordKey(number) + ".name") == name)
            return true;
    return false;
}

void checkName(Engine &engine, Cgi &cgi, const Place &place, unsigned index) {
    const CgiValue name = cgi.getVarString(place.fields + "name");
    if (trim(name.raw).empty())
        cgi.addError("Please give the auto-response a name.");
    else if (isNameTaken(engine.config(), name.raw, index))
        cgi.addError("There is another auto-response named '<i>" + name.safe + "</i>'.");
}

/// Only the types that watch ports take a list of them; any other has one device, in a menu.
void checkDevices(Engine &engine, Cgi &cgi, const Type &check, const Place &place) {
    if (watchesPorts(check))
        return;
    const std::string device = place.fields + check.name + ".dev_refs.dev_ref";
    unsigned devices = 0;
    for (unsigned port = 1; port <= portCount(engine.config()); ++port)
        devices += cgi.getVarString(device + std::to_string(port)).raw.empty() ? 0 : 1;
    if (devices > 1)
        cgi.addError(std::string("Check type '") + check.name + "' is not for multiple devices");
}

/// The submitted check; null, with an error, when there is none that can be made.
const Type *submittedCheck(Engine &engine, Cgi &cgi, const Place &place) {
    const std::string name = cgi.getVarString(place.fields + "check_type").raw;
    const Type *check = findType(checkTypes(), name);
    const bool isKept = engine.config().getElement(place.keys + "check_type") == name;
    if (check != nullptr && (isKept || isOffered(engine.config(), *check)))
        return check;
    cgi.addError("No Check type selected");
    return nullptr;
}

void saveRecord(Engine &engine, Cgi &cgi, unsigned index) {
    ConfigManager &config = engine.config();
    const Place place = recordPlace(config, index);
    const Type *check = submittedCheck(engine, cgi, place);
    const std::span<const Field> fields =
        check == nullptr ? std::span<const Field>() : check->fields;
    declareFields(engine, generalFields(), place);
    declareTimes(engine, place);
    declareFields(engine, fields, place);
    checkName(engine, cgi, place, index);
    checkFields(engine, cgi, generalFields(), place);
    checkTimes(cgi, place);
    checkFields(engine, cgi, fields, place);
    if (check != nullptr)
        checkDevices(engine, cgi, *check, place);
    checkElements(engine);
    if (cgi.hasErrors())
        return;

    if (index == 0) {
        const unsigned number = countEntries(config, all_records) + 1;
        config.delElement(recordKey(number));
        config.setElement("config.autoresponse.total", std::to_string(number));
    }
    config.setElement(place.keys + "check_type", check->name);
    storeFields(engine, cgi, generalFields(), place);
    storeTimes(engine, cgi, place);
    for (const Type &other : checkTypes())
        if (&other != check)
            clearFields(config, other.fields, place.keys);
    storeFields(engine, cgi, fields, place);
    storeAmounts(config, check->name, place.keys);
}

void saveAction(Engine &engine, Cgi &cgi, const Command &command) {
    ConfigManager &config = engine.config();
    const std::string list = actionList(recordKey(command.index), command.list);
    if (list.empty()) {
        cgi.addError(no_such_action);
        return;
    }
    const unsigned total = countEntries(config, list);
    if (!command.isNewAction() && !checkActionIndex(cgi, command.action, total))
        return;
    const Type *type = findType(actionTypes(), cgi.getVarString(actionTypeField(command.list)).raw);
    if (type == nullptr) {
        cgi.addError("Unknown Action Type");
        return;
    }
    const Place place = actionPlace(config, command);
    declareFields(engine, type->fields, place);
    const std::string position = place.fields + position_key;
    engine.addElement(position, FormElem("Position", "numeric", false, false));
    checkFields(engine, cgi, type->fields, place);
    checkElements(engine);
    if (cgi.hasErrors())
        return;

    const unsigned number = command.isNewAction() ? total + 1 : command.action;
    if (config.getElement(place.keys + "type") != type->name)
        config.delElement(list + std::to_string(number));
    config.setElement(place.keys + "type", type->name);
    storeFields(engine, cgi, type->fields, place);
    if (command.isNewAction())
        config.setElement(list.substr(0, list.rfind('.')) + ".total", std::to_string(number));
    const auto wanted = parseWhole(cgi.getVarString(position).raw);
    if (wanted && *wanted >= 1 && *wanted <= std::max(total, number))
        moveEntry(config, list, number, static_cast<unsigned>(*wanted));
}

void removeAction(Engine &engine, Cgi &cgi, const Command &command) {
    const std::string list = actionList(recordKey(command.index), command.list);
    if (list.empty())
        cgi.addError(no_such_action);
    else if (checkActionIndex(cgi, command.action, countEntries(engine.config(), list)))
        removeEntry(engine.config(), list, command.action);
}

/// The service watches the configuration and takes the command out of it.
void cancelRecord(Engine &engine, Cgi &cgi, unsigned index) {
    const std::string name = engine.config().getElement(recordKey(index) + ".name");
    engine.config().setElement("config.autoresponse.command", "cancel " + name);
    cgi.addMessage("The auto-response service is told to cancel '<i>" + encodeSafe(name) +
                   "</i>'.");
}

void saveGlobal(Engine &engine, Cgi &cgi) {
    declareFields(engine, globalFields(), globalPlace());
    checkFields(engine, cgi, globalFields(), globalPlace());
    checkElements(engine);
    if (!cgi.hasErrors())
        storeFields(engine, cgi, globalFields(), globalPlace());
}

} // namespace

void carryOut(Engine &engine, Cgi &cgi, const Command &command) {
    engine.setForceSubmit(true);
    if (!lockRecords(engine, cgi))
        return;
    const bool isNew = command.name == "apply" && command.index == 0;
    if (isNew && !command.hasIndex)
        saveGlobal(engine, cgi);
    else if (isNew)
        saveRecord(engine, cgi, 0);
    else if (!isFresh(engine, cgi, command.index))
        return;
    else if (command.name == "apply")
        saveRecord(engine, cgi, command.index);
    else if (command.isNewAction() || command.isSavedAction())
        saveAction(engine, cgi, command);
    else if (command.name == "delete" && !command.list.empty())
        removeAction(engine, cgi, command);
    else if (command.name == "delete")
        removeEntry(engine.config(), all_records, command.index);
    else if (command.name == "cancel")
        cancelRecord(engine, cgi, command.index);
}

} // namespace zandorin::autoresponse
