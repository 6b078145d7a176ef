#pragma once

#include "settings/fingerprint.h"
#include "settings/form_elem.h"
#include "settings/problems.h"
#include "settings/submission.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zandorin {
class ConfigManager;
}

namespace zandorin::settings {

struct Value;

/// A value that is one text as the form's element, under this label (markup). `save` is off for
/// what is saved otherwise.
FormElem elementOf(const Value &value, const char *label, bool save);

/// Adds a problem when a value does not fit an element's type; true when it does. A password is in
/// no message.
bool acceptsType(const FormElem &element, const std::string &name, const std::string &value,
                 Problems &problems);

/// The one check of submitted values against their types, and the one way they are saved. Driven
/// as: check() for each element in order of their names; then, when nothing at all was refused,
/// save().
class FormCheck {
  public:
    /// All three must last as long.
    FormCheck(const ConfigManager &config, const Submission &submission,
              const Fingerprint &fingerprint)
        : config_(config), submission_(submission), fingerprint_(fingerprint) {}

    /// What was submitted for the element, as far as its buffer goes.
    std::string submitted(const std::string &name, const FormElem &element) const;

    /// Checks a submitted value and notes what it changes. A field that its user left as the page
    /// showed it changes nothing; one that somebody else has changed too is a conflict, and a
    /// problem.
    void check(const std::string &name, const FormElem &element, const std::string &value);

    const Problems &problems() const { return problems_; }

    /// What save() would change: keys with their new values, "" for those that it deletes.
    std::vector<std::pair<std::string, std::string>> changes() const;
    /// Puts what was noted into the store's memory: first what is deleted, then what is set.
    void save(ConfigManager &config) const;

  private:
    bool isUntouched(const std::string &name, const FormElem &element, const std::string &value,
                     bool boxed) const;
    bool isConflict(const std::string &name, const FormElem &element,
                    const std::string &value) const;
    void note(const std::string &key, const FormElem &element, const std::string &value);
    void notePassword(const std::string &password);

    const ConfigManager &config_;
    const Submission &submission_;
    const Fingerprint &fingerprint_;
    Problems problems_;
    std::vector<std::string> deletes_;
    std::map<std::string, std::string> sets_;
};

/// A stored value as an input shows it: of a box "on" or "", of a menu that must have a choice the
/// first. What fingerprints are made of.
std::string shownValue(const FormElem &element, const std::string &stored);

} // namespace zandorin::settings
