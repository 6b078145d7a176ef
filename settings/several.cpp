#include "settings/several.h"

#include "platform/libzandorin/config_manager.h"
#include "settings/edit.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin::settings {

namespace {

bool isShared(const Field &field) {
    switch (field.input) {
    case Input::text:
    case Input::check:
    case Input::menu:
    case Input::radio:
        return !field.alone && *field.key == '.' && *field.file == '\0' && field.held == nullptr;
    default:
        return false;
    }
}

Part partAt(const Page &page, const std::string &place) {
    return {.place = {.names = place, .keys = place}, .sections = page.sections, .rule = page.rule};
}

void addAll(const Problems &from, Problems &to) {
    for (const Problem &problem : from.all())
        to.add(problem.name, problem.message);
}

/// What the form's field was sent with; a box that is off is not there.
std::string sentText(const Value &value, const Submission &submission) {
    const std::string text = submission.text(value.name, bufferOf(*value.field)).value_or("");
    return value.field->input == Input::check && text == "off" && !value.isMixed() ? "" : text;
}

bool isConflict(const Value &value, const std::string &text, const Fingerprint &opened) {
    const bool isNew = std::any_of(value.everywhere.begin(), value.everywhere.end(),
                                   [&](const std::string &stored) { return stored != text; });
    return opened.isKnown() && isNew && !opened.holds(sharedMark(value), sharedState(value), false);
}

} // namespace

std::optional<std::vector<std::string>> optionsNamed(const std::vector<Option> &options,
                                                     std::string_view list) {
    const auto find = [&](const std::string &name) {
        return std::find_if(options.begin(), options.end(),
                            [&](const Option &option) { return option.value == name; });
    };
    std::vector<bool> named(options.size(), false);
    for (const std::string &word : utilities::split(list, ",")) {
        const std::string name(trim(word));
        if (name.empty())
            continue;
        auto first = find(name);
        auto last = first;
        if (const auto dash = name.find('-'); first == options.end() && dash != std::string::npos) {
            first = find(std::string(trim(name.substr(0, dash))));
            last = find(std::string(trim(name.substr(dash + 1))));
        }
        if (first == options.end() || last == options.end() || last < first)
            return std::nullopt;
        std::fill(named.begin() + (first - options.begin()),
                  named.begin() + (last - options.begin()) + 1, true);
    }
    std::vector<std::string> names;
    for (std::size_t i = 0; i < options.size(); ++i)
        if (named[i])
            names.push_back(options[i].value);
    return names.empty() ? std::nullopt : std::optional(std::move(names));
}

std::string sharedMark(const Value &value) {
    return value.name + ".everywhere";
}

std::string sharedState(const Value &value) {
    std::string state;
    for (const std::string &stored : value.everywhere)
        (state += stored) += '\n';
    return state;
}

SharedForm::SharedForm(const Page &page, const ConfigManager &config,
                       std::vector<std::string> places)
    : page_(page), config_(config), places_(std::move(places)) {
    fields_.reserve(page.sections.size());
    for (const Section &section : page.sections) {
        std::vector<Field> &fields = fields_.emplace_back();
        std::copy_if(section.fields.begin(), section.fields.end(), std::back_inserter(fields),
                     isShared);
        if (fields.empty())
            continue;
        sections_.push_back(section);
        sections_.back().fields = fields;
    }
}

Values SharedForm::values(const Submission *submission) const {
    Values values(
        config_, submission,
        {.names = page_.chooser.prefix + std::string("several"), .keys = places_.front()});
    values.add(sections_);
    for (std::size_t i = 1; i < places_.size(); ++i)
        values.share(partAt(page_, places_[i]).values(config_));
    return values;
}

Problems SharedForm::change(ConfigManager &config, const Submission &submission,
                            const Fingerprint &opened) const {
    const Values form = values(nullptr);
    Problems problems;
    std::vector<std::pair<const Field *, std::string>> changed;
    for (const Value &value : form.all()) {
        const std::string text = sentText(value, submission);
        if (opened.isKnown() && opened.holds(value.name, text, false))
            continue;
        problems.require(!isConflict(value, text, opened), value.name,
                         changedMeanwhile(value.field->label));
        changed.emplace_back(value.field, text);
    }
    for (const std::string &place : places_) {
        if (!problems.empty())
            break;
        Changes changes;
        for (const auto &[field, text] : changed)
            changes[place + field->key] = text;
        addAll(settings::change(config, partAt(page_, place), changes), problems);
    }
    return problems;
}

Problems copyPlace(ConfigManager &config, const Page &page, const std::string &from,
                   const std::string &to) {
    Changes changes;
    const Values source = partAt(page, from).values(config);
    for (const Value &value : source.all())
        if (isShared(*value.field))
            changes[to + value.field->key] = value.stored;
    return change(config, partAt(page, to), changes);
}

} // namespace zandorin::settings
