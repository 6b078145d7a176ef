#pragma once

#include <string>

namespace zandorin {
class Cgi;
class Engine;
} // namespace zandorin

namespace zandorin::users {

struct Kind;
struct Record;
class RecordForm;

// The pages.
void showList(Engine &engine, Cgi &cgi);
void showUser(const RecordForm &form);
void showGroup(const RecordForm &form);
/// Asks before a record is deleted.
void showQuestion(Cgi &cgi, const Kind &kind, const Record &record);

// What they do. The caller holds the lock of the lists and has read the configuration under it.
// Errors of the request say what was refused; nothing is changed then.
void saveUser(const RecordForm &form);
void saveGroup(const RecordForm &form);
void removeUser(Engine &engine, Cgi &cgi, const Record &record);
void removeGroup(Engine &engine, Cgi &cgi, const Record &record);
void enableUser(Engine &engine, Cgi &cgi, const Record &record, bool enable);

/// Saves the configuration once the accounts are changed, and says on the page that it is `done`,
/// in markup. Throws utilities::Exception when it fails, with an error of the request that says how
/// far it came.
void saveConfiguration(Engine &engine, Cgi &cgi, const std::string &done);
/// Drops what was set in the configuration, because an account could not be changed.
void dropChanges(Engine &engine, Cgi &cgi, const char *failure);

} // namespace zandorin::users
