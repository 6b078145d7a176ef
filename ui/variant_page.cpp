#include "ui/variant_page.h"

#include "cgi/cgi.h"
#include "settings/variants.h"
#include "ui/settings_page.h"
#include "ui/variant_request.h"
#include "util/log.h"
#include "util/strings.h"

// What a request changes.

namespace zandorin::ui {

namespace {

using settings::List;
using settings::Place;
using settings::RecordList;
using settings::Variant;

unsigned numberIn(const std::string &text) {
    constexpr std::int64_t highest = 1000000; // no list is that long
    const auto number = parseWhole(text);
    return number && *number > 0 && *number <= highest ? static_cast<unsigned>(*number) : 0;
}

} // namespace

std::string wordOf(const List &inner) {
    const std::string key = inner.key;
    return key.substr(1, key.find('_') - 1);
}

VariantRequest::VariantRequest(Engine &engine, Cgi &cgi, const VariantHooks &hooks)
    : engine_(engine), cgi_(cgi), config_(engine.config()), hooks_(hooks),
      page_(*settingsPage(engine)), list_(page_.lists.front()), records_(list_.key, list_.word),
      submission_(cgi), name_(posted("action")), changes_(cgi.getRequestMethod() == "POST"),
      select_(cgi.varStringExists("select")), hasIndex_(cgi.varStringExists("index")),
      index_(numberIn(posted("index"))), entry_(numberIn(posted("modify_index"))) {
    if (name_ == "delete")
        word_ = posted("list");
    for (const List &inner : list_.lists) {
        if (name_.starts_with(wordOf(inner)))
            word_ = name_.substr(0, name_.find('_'));
        if (word_ == wordOf(inner))
            inner_ = &inner;
    }
}

/// What a message calls a record.
std::string VariantRequest::noun() const {
    std::string noun = list_.singular;
    for (char &c : noun)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return noun;
}

RecordList VariantRequest::entriesOf(unsigned record, const List &inner) const {
    return {records_.keyOf(record) + inner.key, inner.word};
}

Place VariantRequest::recordPlace(unsigned record) const {
    if (record == 0)
        return {.names = std::string(list_.key) + ".new",
                .keys = records_.keyOf(records_.next(config_))};
    return {.names = records_.keyOf(record), .keys = records_.keyOf(record)};
}

Place VariantRequest::entryPlace() const {
    const RecordList entries = entriesOf(index_, *inner_);
    return {.names = word_ + "." + (isNewEntry() ? "new" : std::to_string(entry_)),
            .keys = entries.keyOf(isNewEntry() ? entries.next(config_) : entry_)};
}

/// False, with an error and a log record, when the request is about an entry that is not there.
bool VariantRequest::hasEntry() {
    if (inner_ == nullptr) {
        logRecord(Priority::error, "Unrecognized prefix: %s", word_.c_str());
    } else {
        const RecordList entries = entriesOf(index_, *inner_);
        if (entries.contains(config_, entry_))
            return true;
        logRecord(Priority::error, "Modifying %s out of range %d -> %d", inner_->word,
                  static_cast<int>(entry_), static_cast<int>(entries.numbers(config_).size()));
    }
    cgi_.addError(
        concat({"There is no such ", list_.lists.front().word, " any more. Nothing was changed."}));
    return false;
}

void VariantRequest::checkLink() {
    const bool needsRecord = !word_.empty() || name_ == "modify" || name_ == "delete" ||
                             isCommand() || (name_ == "edit" && index_ != 0);
    if (needsRecord && !records_.contains(config_, index_))
        cgi_.addError("There is no such " + noun() + " any more.");
    else if (!word_.empty() && !(inner_ != nullptr && isNewEntry()))
        hasEntry();
}

/// False, with an error, when the record is not what the submitted page was made from.
bool VariantRequest::isFresh() {
    const std::string now = records_.hashOf(config_, index_);
    if (now.empty())
        cgi_.addError("There is no such " + noun() + " any more. Nothing was changed.");
    else if (now != posted("opened"))
        cgi_.addError("This " + noun() +
                      " was changed after this page was opened. Nothing was saved; please open it "
                      "again from the list.");
    else
        return true;
    return false;
}

void VariantRequest::saveSettings() {
    settings::Values values(config_, &submission_);
    values.add(page_.sections);
    defineValues(engine_, values, page_.rule);
}

void VariantRequest::saveRecord() {
    const Place place = recordPlace(index_);
    const std::string name = posted(place.names + list_.variantKey);
    const Variant *variant = settings::findVariant(list_.variants, name);
    const bool isKept = config_.getElement(place.keys + list_.variantKey) == name;
    settings::Values values(config_, &submission_, place);
    values.add(list_.sections);
    if (variant == nullptr || !(isKept || settings::isOffered(*variant, config_))) {
        cgi_.addError(list_.noVariant);
    } else {
        values.add(variant->fields);
        if (hooks_.check)
            hooks_.check(*variant, values);
        engine_.onSaved([&config = config_, key = place.keys, &list = list_, variant] {
            config.setElement(key + list.variantKey, variant->name);
            settings::clearVariants(config, list.variants, variant->name, key);
            if (list.derive != nullptr)
                list.derive(config, key);
            RecordList(list.key, list.word).settle(config);
        });
    }
    defineValues(engine_, values, list_.rule);
}

void VariantRequest::saveEntry() {
    if ((inner_ == nullptr || !isNewEntry()) && !hasEntry())
        return;
    const Variant *variant = settings::findVariant(inner_->variants, posted(typeField()));
    if (variant == nullptr) {
        cgi_.addError(inner_->noVariant);
        return;
    }
    const Place place = entryPlace();
    const std::string typeKey = place.keys + inner_->variantKey;
    engine_.onAccepted([&config = config_, place, typeKey, variant] {
        if (config.getElement(typeKey) != variant->name)
            config.delElement(place.keys);
    });
    settings::Values values(config_, &submission_, place);
    values.add(variant->fields);
    defineValues(engine_, values, inner_->rule);
    const std::string position = place.names + ".position";
    engine_.addElement(position, FormElem("Position", "numeric", false, false));
    engine_.onSaved([&config = config_, entries = entriesOf(index_, *inner_), typeKey, variant,
                     number = isNewEntry() ? 0 : entry_, wanted = numberIn(posted(position))] {
        config.setElement(typeKey, variant->name);
        const unsigned saved = number == 0 ? entries.next(config) - 1 : number;
        const unsigned rank = entries.rankOf(config, saved);
        entries.settle(config);
        entries.move(config, rank, wanted);
    });
}

void VariantRequest::carryOut() {
    if (!changes_) {
        checkLink();
        return;
    }
    if (select_)
        return;
    engine_.setForceSubmit(true);
    if (!engine_.lockSettings())
        return;
    if (name_ == "apply" && index_ == 0)
        hasIndex_ ? saveRecord() : saveSettings();
    else if (!isFresh())
        return;
    else if (name_ == "apply")
        saveRecord();
    else if (isNewEntry() || name_.ends_with("_save"))
        saveEntry();
    else if (name_ == "delete" && word_.empty())
        records_.remove(config_, index_);
    else if (name_ == "delete" && hasEntry())
        entriesOf(index_, *inner_).remove(config_, entry_);
    else if (isCommand())
        hooks_.carryOut(config_.getElement(records_.keyOf(index_) + list_.name));
}

void VariantRequest::render() {
    const bool isThere = records_.contains(config_, index_);
    const bool isNew = name_ == "edit" && index_ == 0;
    const bool isApplied = name_ == "apply" && changes_ && hasIndex_;
    const bool isQuestion = (name_ == "delete" || isCommand()) && isThere && !changes_ &&
                            (word_.empty() || !cgi_.hasErrors());
    const bool isEdited = isThere && (name_ == "edit" || name_ == "modify" || !word_.empty());
    if (isQuestion)
        renderQuestion();
    else if (isNew || isApplied || isEdited)
        renderEdit();
    else
        renderList();
}

void defineVariantPage(Engine &engine, Cgi &cgi, const VariantHooks &hooks) {
    VariantRequest(engine, cgi, hooks).carryOut();
}

void renderVariantPage(Engine &engine, Cgi &cgi, const VariantHooks &hooks) {
    VariantRequest(engine, cgi, hooks).render();
}

} // namespace zandorin::ui
