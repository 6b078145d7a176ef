#include "settings/parts.h"

#include <algorithm>

namespace zandorin::settings {

namespace {

bool isBelow(std::string_view key, const std::string &place) {
    return place.empty() ||
           (key.starts_with(place) && (key.size() == place.size() || key[place.size()] == '.'));
}

void addRecords(std::span<const List> lists, const ConfigManager &config, const std::string &parent,
                std::vector<Part> &parts) {
    for (const List &list : lists) {
        if (list.offered != nullptr && !list.offered(config))
            continue;
        const std::string key = (*list.key == '.' ? parent : "") + list.key;
        const RecordList records(key, list.word);
        for (const unsigned number : records.numbers(config)) {
            const std::string record = records.keyOf(number);
            parts.push_back({.place = {.names = record, .keys = record},
                             .sections = list.sections,
                             .rule = list.rule,
                             .list = &list,
                             .listKey = key,
                             .number = number});
            addRecords(list.lists, config, record, parts);
        }
        parts.push_back(
            {.place = {.names = key + ".new", .keys = records.keyOf(records.next(config))},
             .sections = list.sections,
             .rule = list.rule,
             .list = &list,
             .listKey = key});
    }
}

} // namespace

Values Part::values(const ConfigManager &config, const Submission *submission) const {
    Values values(config, submission, place);
    if (list == nullptr)
        values.add(sections);
    else
        values.add(*list);
    return values;
}

std::vector<Part> partsOf(const Page &page, const ConfigManager &config) {
    std::vector<Part> parts;
    std::vector<std::string> places = {""};
    if (page.chooser.options != nullptr) {
        places.clear();
        for (const Option &option : page.chooser.options(config, ""))
            places.push_back(page.chooser.prefix + option.value);
    }
    for (const std::string &place : places) {
        if (!page.sections.empty())
            parts.push_back({.place = {.names = place, .keys = place},
                             .sections = page.sections,
                             .rule = page.rule});
        addRecords(page.lists, config, place, parts);
    }
    return parts;
}

std::optional<Part> partOf(const Page &page, const ConfigManager &config, std::string_view key) {
    std::optional<Part> found;
    for (Part &part : partsOf(page, config)) {
        const bool isNearer = !found || part.place.names.size() > found->place.names.size();
        if (isNearer && isBelow(key, part.place.names))
            found = std::move(part);
    }
    return found;
}

bool isSingle(const Value &value) {
    switch (value.field->input) {
    case Input::note:
    case Input::confirmation:
    case Input::set:
    case Input::texts:
    case Input::file:
        return false;
    default:
        return *value.field->file == '\0' && value.field->held == nullptr;
    }
}

const Value *findValue(const Values &values, std::string_view key) {
    const auto isIt = [&](const Value &value) {
        if (value.name == key || value.key == key)
            return true;
        return value.field->input == Input::flags &&
               std::any_of(value.options.begin(), value.options.end(), [&](const Option &option) {
                   return boxName(value, option) == key || value.key + option.value == key;
               });
    };
    const auto found = std::find_if(values.all().begin(), values.all().end(), isIt);
    return found == values.all().end() ? nullptr : &*found;
}

} // namespace zandorin::settings
