#include "settings/edit.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/config_text.h"
#include "settings/form_check.h"
#include "settings/record_changes.h"
#include "settings/rules.h"
#include "types/predicates.h"
#include "util/escape.h"

#include <algorithm>

namespace zandorin::settings {

namespace {

/// A form with only these fields.
class CommandSubmission : public Submission {
  public:
    void set(const std::string &name, std::string text) { texts_[name] = std::move(text); }

    std::optional<std::string> text(const std::string &name, std::size_t longest) const override {
        const auto found = texts_.find(name);
        if (found == texts_.end())
            return std::nullopt;
        return found->second.substr(0, longest - 1);
    }
    bool isWhole() const override { return false; }

  private:
    Changes texts_;
};

/// As its page would send it: a box that is off is not there.
std::string asSent(const Value &value, const std::string &text) {
    const bool isBox = value.field->input == Input::check || value.field->input == Input::flags;
    return isBox && isValidBoolean(text) && !platform::isTrue(text) ? "" : text;
}

/// The name in the form of what is stored as `key`.
std::string nameOf(const Value &value, const std::string &key) {
    return value.name + key.substr(value.key.size());
}

CommandSubmission submissionOf(const Values &values, const Changes &changes) {
    CommandSubmission submission;
    for (const auto &[key, text] : changes) {
        const Value *value = findValue(values, key);
        if (value == nullptr)
            continue;
        const std::string sent = asSent(*value, text);
        submission.set(nameOf(*value, key), sent);
        if (sent.empty() && isUnsafe(*value->field))
            submission.set(value->name + ".delete", "on");
        for (const Value &other : values.all())
            if (other.field->input == Input::confirmation &&
                values.keyOf(other.field->confirms, other.suffix) == value->key)
                submission.set(other.name, sent);
    }
    return submission;
}

FormElem elementFor(const Value &value, const std::string &key) {
    FormElem element = elementOf(value, value.field->label, true);
    element.key = key;
    return element;
}

/// All rules of the part but its values' types.
void checkPart(const ConfigManager &config, const Part &part, const Values &values,
               Problems &problems) {
    checkRules(values, part.rule, problems);
    if (part.list == nullptr)
        return;
    checkVariant(part, values, problems);
    if (*part.list->name != '\0')
        checkName(config, part, values.after(part.list->name), problems);
}

bool contains(const Problems &problems, const Problem &wanted) {
    return std::any_of(problems.all().begin(), problems.all().end(), [&](const Problem &problem) {
        return problem.name == wanted.name && problem.message == wanted.message;
    });
}

} // namespace

Problems change(ConfigManager &config, const Part &part, const Changes &changes) {
    const Values before = part.values(config);
    // The fields of a variant are there once its name is.
    const CommandSubmission named = submissionOf(before, changes);
    const CommandSubmission submission = submissionOf(part.values(config, &named), changes);
    const Values after = part.values(config, &submission);

    Problems rules;
    Problems broken;
    Problems problems;
    checkPart(config, part, after, rules);
    if (!part.isNew())
        checkPart(config, part, before, broken);

    const Fingerprint none("");
    FormCheck check(config, submission, none);
    for (const auto &[key, text] : changes) {
        const Value *value = findValue(after, key);
        if (value == nullptr || !isSingle(*value)) {
            problems.add(key, encodeSafe(key) + " is no setting that can be given a value.");
            return problems;
        }
        const std::string sent = asSent(*value, text);
        const FormElem element = elementFor(*value, key);
        const std::size_t found = check.problems().size();
        check.check(nameOf(*value, key), element, sent);
        problems.require(check.problems().size() > found || sent.size() < element.bufferSize(), key,
                         "<i>" + element.label + "</i> is too long.");
    }
    for (const Problem &problem : check.problems().all())
        problems.add(problem.name, problem.message);
    for (const Problem &problem : rules.all())
        if (!contains(broken, problem))
            problems.add(problem.name, problem.message);
    if (!problems.empty())
        return problems;
    const std::string oldName = part.list == nullptr ? "" : nameOf(config, part);
    check.save(config);
    if (part.list != nullptr)
        settleRecord(config, part, oldName);
    return problems;
}

Problems addRecord(ConfigManager &config, const Part &part, const Changes &changes) {
    Problems problems;
    problems.require(!changes.empty(), part.listKey, "A record needs a value.");
    return problems.empty() ? change(config, part, changes) : problems;
}

Problems deleteRecord(ConfigManager &config, const Part &part) {
    Problems problems;
    checkFixed(config, part, "deleted", problems);
    if (problems.empty())
        removeRecord(config, part);
    return problems;
}

Problems checkStored(const ConfigManager &config, const Part &part) {
    Problems problems;
    const Values values = part.values(config);
    for (const Value &value : values.all())
        if (isSingle(value) && value.field->input != Input::flags && !value.stored.empty() &&
            value.field->type != TypeName("password"))
            acceptsType(elementFor(value, value.key), value.name, value.stored, problems);
    checkPart(config, part, values, problems);
    return problems;
}

} // namespace zandorin::settings
