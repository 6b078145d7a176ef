#include "settings/values.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/config_text.h"
#include "settings/records.h"
#include "settings/variants.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin::settings {

bool isUnsafe(const Field &field) {
    return field.input == Input::unsafeText || field.input == Input::unsafeSecret ||
           field.input == Input::unsafeTextArea;
}

std::string boxName(const Value &value, const Option &option) {
    return value.posted + option.boxName();
}

std::string storedWords(const Value &value) {
    const bool isList = value.field->input == Input::flags || value.field->input == Input::set;
    if (!isList && value.stored.empty())
        return "";
    std::string words;
    for (const std::string &stored :
         isList ? value.storedList : std::vector<std::string>{value.stored}) {
        const auto option = std::find_if(value.options.begin(), value.options.end(),
                                         [&](const Option &each) { return each.value == stored; });
        words += words.empty() ? "" : ", ";
        words += option == value.options.end() ? stored : option->label;
    }
    return words;
}

std::optional<std::string> columnWords(const ConfigManager &config,
                                       std::span<const Section> sections, const std::string &place,
                                       std::string_view key) {
    Values values(config, nullptr, {.names = place, .keys = place});
    for (const Section &section : sections)
        for (const Field &field : section.fields)
            if (field.key == key)
                values.add({&field, 1});
    const Value *value = values.find(key);
    if (value == nullptr)
        return std::nullopt;
    if (value->field->input == Input::check)
        return platform::isTrue(value->stored) ? "yes" : "";
    const std::string words = storedWords(*value);
    return words.empty() && !value->options.empty() ? value->options.front().label : words;
}

std::size_t bufferOf(const Field &field) {
    constexpr std::size_t usual = 256;
    constexpr std::size_t ssh_key = 16384;
    if (field.maxlength > 0)
        return static_cast<std::size_t>(field.maxlength) + 1;
    return field.type == TypeName("sshauthkey") ? ssh_key : usual;
}

std::vector<Option> optionsOf(const Field &field, const ConfigManager &config,
                              const std::string &place) {
    std::vector<Option> options;
    for (const Choice &choice : field.choices)
        options.emplace_back(std::string(choice.value), std::string(choice.label));
    if (field.options != nullptr)
        for (Option &option : field.options(config, place))
            options.push_back(std::move(option));
    return options;
}

void Values::add(std::span<const Section> sections) {
    for (const Section &section : sections)
        if (offers(section))
            add(section.fields, section.suffix);
}

bool Value::isMixed() const {
    return std::any_of(everywhere.begin(), everywhere.end(),
                       [&](const std::string &each) { return each != everywhere.front(); });
}

void Values::share(const Values &other) {
    for (Value &value : values_) {
        const Value *there = other.find(value.field->key);
        if (there == nullptr)
            continue;
        if (value.everywhere.empty())
            value.everywhere.push_back(value.stored);
        value.everywhere.push_back(there->stored);
        if (!value.isMixed())
            continue;
        value.stored.clear();
        if (!value.submitted)
            value.text.clear();
    }
}

bool Values::offers(const Section &section) const {
    return (section.offered == nullptr || section.offered(config_)) &&
           (*section.where.key == '\0' || isStored(section.where)) &&
           (*section.except.key == '\0' || !isStored(section.except));
}

bool Values::isStored(const When &when) const {
    return contains(utilities::split(when.values, " "), config_.getElement(keyOf(when.key)));
}

void Values::add(std::span<const Field> fields, const char *suffix) {
    values_.reserve(values_.size() + fields.size());
    for (const Field &field : fields)
        addValue(field, field.key, suffix);
}

void Values::add(const List &list) {
    addGeneral(list);
    const Value *type = find(list.variantKey);
    if (type == nullptr)
        return;
    const Variant *variant = findVariant(list.variants, type->text);
    if (variant != nullptr && (type->text == type->stored || isOffered(*variant, config_)))
        add(variant->fields);
}

void Values::addGeneral(const List &list) {
    static constexpr Field type = {.label = "Type"};
    add(list.sections);
    if (!list.variants.empty() && find(list.variantKey) == nullptr)
        addValue(type, list.variantKey, "", list.variantField);
}

void Values::addValue(const Field &field, const char *key, const char *suffix, const char *name) {
    Value value{.field = &field,
                .suffix = suffix,
                .name = name != nullptr && *name != '\0' ? name
                        : *key == '.'                    ? place_.names + key
                                                         : key,
                .key = keyOf(key, suffix),
                .posted = "",
                .stored = "",
                .text = "",
                .submitted = submission_ != nullptr};
    value.name += suffix;
    value.posted = postedName(value);
    read(value);
    values_.push_back(std::move(value));
}

std::string Values::keyOf(std::string_view key, std::string_view suffix) const {
    std::string whole = key.starts_with('.') ? place_.keys : "";
    return whole.append(key).append(suffix);
}

std::string Values::postedName(const Value &value) const {
    const Field &field = *value.field;
    if (*field.posted != '\0')
        return *field.posted == '.' ? place_.names + field.posted : field.posted;
    return value.name + (field.input == Input::set ? "." : "");
}

std::string Values::submittedText(const std::string &name, std::size_t longest,
                                  const std::string &stored) const {
    if (submission_ == nullptr)
        return stored;
    return submission_->text(name, longest).value_or(submission_->isWhole() ? "" : stored);
}

bool Values::isTicked(const std::string &name, bool stored) const {
    return !submittedText(name, 2, stored ? "x" : "").empty();
}

void Values::read(Value &value) const {
    const Field &field = *value.field;
    switch (field.input) {
    case Input::note:
    case Input::file:
        return;
    case Input::flags:
        readFlags(value);
        return;
    case Input::set:
        readSet(value);
        return;
    case Input::texts:
        readTexts(value);
        return;
    case Input::confirmation:
        value.stored = config_.getElement(keyOf(field.confirms, value.suffix));
        break;
    case Input::text:
    case Input::menu:
    case Input::radio:
        value.options = optionsOf(field, config_, place_.keys);
        [[fallthrough]];
    default:
        value.stored =
            field.held != nullptr ? field.held(config_, value.key)
            : *field.file == '\0'
                ? config_.getElement(value.key)
                : readFile(appliancePath(field.file), std::size_t{64} * 1024).value_or("");
    }
    value.text = submittedText(value.name, bufferOf(field), value.stored);
    value.cleared = isUnsafe(field) && isTicked(value.name + ".delete", false);
}

void Values::readFlags(Value &value) const {
    value.options = optionsOf(*value.field, config_, place_.keys);
    for (const Option &option : value.options) {
        const bool isStored = config_.getBoolean(value.key + option.value);
        if (isStored)
            value.storedList.push_back(option.value);
        if (isTicked(boxName(value, option), isStored))
            value.list.push_back(option.value);
    }
}

void Values::readSet(Value &value) const {
    value.options = optionsOf(*value.field, config_, place_.keys);
    value.storedList = readTextList(config_, value.key, value.field->word);
    // What is stored and not offered any more stays until somebody takes it out.
    for (const std::string &stored : value.storedList)
        if (std::none_of(value.options.begin(), value.options.end(),
                         [&](const Option &option) { return option.value == stored; })) {
            value.options.emplace_back(stored);
            value.options.back().offered = false;
        }
    for (const Option &option : value.options)
        if (isTicked(boxName(value, option), contains(value.storedList, option.value)))
            value.list.push_back(option.value);
}

void Values::readTexts(Value &value) const {
    value.storedList = readTextList(config_, value.key, value.field->word);
    const std::size_t longest = bufferOf(*value.field);
    for (std::size_t number = 1; number <= value.storedList.size(); ++number) {
        const std::string &stored = value.storedList[number - 1];
        const std::string name = value.name + "." + value.field->word + std::to_string(number);
        // An empty input keeps its entry, a box deletes it, a new value wins over both.
        if (const std::string typed = submittedText(name, longest, ""); !typed.empty())
            value.list.push_back(typed);
        else if (!isTicked(name + ".delete", false))
            value.list.push_back(stored);
    }
    value.text = submittedText(value.posted, longest, "");
    if (!value.text.empty())
        value.list.push_back(value.text);
}

const Value *Values::find(std::string_view key) const {
    const std::string whole = keyOf(key);
    const auto found = std::find_if(values_.begin(), values_.end(),
                                    [&](const Value &value) { return value.key == whole; });
    return found == values_.end() ? nullptr : &*found;
}

std::string Values::text(std::string_view key) const {
    const Value *value = find(key);
    return value == nullptr ? "" : value->text;
}

std::string Values::after(std::string_view key) const {
    const Value *value = find(key);
    if (value == nullptr)
        return "";
    const bool isKept = value->field->type == TypeName("password")
                            ? value->text == password_placeholder
                            : isUnsafe(*value->field) && value->text.empty() && !value->cleared;
    const std::string &text = isKept ? value->stored : value->text;
    return value->field->input == Input::check && !platform::isTrue(text) ? "" : text;
}

bool Values::holds(const When &when, std::string_view suffix) const {
    if (*when.key == '\0')
        return true;
    const std::string value = after(keyOf(when.key, suffix));
    if (*when.values == '\0')
        return !value.empty();
    const auto words = utilities::split(when.values, " ");
    return contains(words, value);
}

std::string Values::label(std::string_view key) const {
    const Value *value = find(key);
    return value == nullptr ? std::string(key) : value->field->label;
}

} // namespace zandorin::settings
