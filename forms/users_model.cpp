#include "forms/users_model.h"

#include "platform/libzandorin/config_manager.h"
#include "util/log.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin::users {

namespace {

constexpr const char *built_in[] = {"admin", "netgrp", "dialin", "pmshell", "pmoperator", "pptpd"};
/// Entries with higher numbers are none: no list is that long.
constexpr unsigned most_entries = 10000;

void copyBelow(ConfigManager &config, const std::string &from, const std::string &to) {
    if (const std::string value = config.getElement(from); !value.empty())
        config.setElement(to, value);
    for (const std::string &child : config.getSubElements(from)) {
        const std::string below = "." + child;
        copyBelow(config, from + below, to + below);
    }
}

void addOnce(std::vector<std::string> &names, const std::string &name) {
    if (std::find(names.begin(), names.end(), name) == names.end())
        names.push_back(name);
}

} // namespace

std::string keyOf(const Kind &kind, unsigned index) {
    return std::string(kind.list) + "." + kind.word + std::to_string(index);
}

std::vector<unsigned> numbers(const ConfigManager &config, const std::string &list,
                              std::string_view word) {
    std::vector<unsigned> found;
    for (const std::string &name : config.getSubElements(list)) {
        if (!name.starts_with(word))
            continue;
        const std::string digits = name.substr(word.size());
        const auto number = parseWhole(digits);
        if (number && *number > 0 && *number <= most_entries && std::to_string(*number) == digits)
            found.push_back(static_cast<unsigned>(*number));
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::vector<Record> records(const ConfigManager &config, const Kind &kind) {
    std::vector<Record> found;
    const std::vector<unsigned> present = numbers(config, kind.list, kind.word);
    const auto complain = [&kind](unsigned index, const char *what) {
        logRecord(Priority::error, "Invalid %s '%s': %s", kind.word, keyOf(kind, index).c_str(),
                  what);
    };
    unsigned expected = 1;
    for (const unsigned index : present) {
        if (expected < index)
            complain(expected, "no tree element");
        expected = index + 1;
        Record record = {.index = index, .key = keyOf(kind, index), .name = ""};
        record.name = config.getElement(record.key + kind.nameField);
        if (record.name.empty())
            complain(index, "no name");
        else
            found.push_back(std::move(record));
    }
    if (expected <= config.getSize(std::string(kind.list) + ".total"))
        complain(expected, "no tree element");
    return found;
}

std::optional<Record> recordAt(const ConfigManager &config, const Kind &kind, unsigned index) {
    Record record = {.index = index, .key = keyOf(kind, index), .name = ""};
    record.name = config.getElement(record.key + kind.nameField);
    return record.name.empty() ? std::nullopt : std::optional(record);
}

std::optional<Record> recordNamed(const ConfigManager &config, const Kind &kind,
                                  std::string_view name) {
    for (const unsigned index : numbers(config, kind.list, kind.word))
        if (auto record = recordAt(config, kind, index); record && record->name == name)
            return record;
    return std::nullopt;
}

unsigned nextIndex(const ConfigManager &config, const Kind &kind) {
    const std::vector<unsigned> present = numbers(config, kind.list, kind.word);
    return present.empty() ? 1 : present.back() + 1;
}

void writeTotal(ConfigManager &config, const Kind &kind) {
    const std::string key = std::string(kind.list) + ".total";
    const unsigned total = nextIndex(config, kind) - 1;
    if (total == 0)
        config.delElement(key);
    else
        config.setElement(key, std::to_string(total));
}

void removeRecord(ConfigManager &config, const Kind &kind, unsigned index) {
    const std::vector<unsigned> present = numbers(config, kind.list, kind.word);
    config.delElement(keyOf(kind, index));
    unsigned next = 1;
    for (const unsigned from : present) {
        if (from == index)
            continue;
        if (from != next) {
            copyBelow(config, keyOf(kind, from), keyOf(kind, next));
            config.delElement(keyOf(kind, from));
        }
        ++next;
    }
    writeTotal(config, kind);
}

std::vector<std::string> values(const ConfigManager &config, const std::string &list,
                                std::string_view word) {
    std::vector<std::string> found;
    for (const unsigned number : numbers(config, list, word))
        if (std::string value = config.getElement(std::string(list).append(".").append(word) +
                                                  std::to_string(number));
            !value.empty())
            found.push_back(std::move(value));
    return found;
}

void setValues(ConfigManager &config, const std::string &list, std::string_view word,
               const std::vector<std::string> &values) {
    config.delElement(list);
    unsigned number = 0;
    for (const std::string &value : values)
        config.setElement(std::string(list).append(".").append(word) + std::to_string(++number),
                          value);
    if (number != 0)
        config.setElement(list + ".total", std::to_string(number));
}

void renameInUsers(ConfigManager &config, const std::string &group, const std::string &newName) {
    for (const unsigned index : numbers(config, user_kind.list, user_kind.word)) {
        const std::string list = keyOf(user_kind, index) + ".groups";
        std::vector<std::string> names = values(config, list, "group");
        const auto found = std::find(names.begin(), names.end(), group);
        if (found == names.end())
            continue;
        if (newName.empty())
            names.erase(found);
        else
            *found = newName;
        setValues(config, list, "group", names);
    }
}

bool isBuiltIn(std::string_view group) {
    return std::find(std::begin(built_in), std::end(built_in), group) != std::end(built_in);
}

std::vector<std::string> groupNames(const ConfigManager &config) {
    std::vector<std::string> names(std::begin(built_in), std::end(built_in));
    for (const unsigned index : numbers(config, group_kind.list, group_kind.word))
        if (const auto record = recordAt(config, group_kind, index))
            addOnce(names, record->name);
    return names;
}

} // namespace zandorin::users
